#include "host/sim/SimStories.h"

namespace sim {

host::ErrCode SimStories::GetStorySettings(host::StoryInfo& info)
{
    log_.Add("GSTO");
    if (const host::ErrCode err = faults_.Take(Op::GetStorySettings)) {
        return err;
    }
    info = info_;
    return host::NoError;
}

}  // namespace sim
