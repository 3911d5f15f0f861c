#pragma once
// Story settings ('GSTO'): stories firstStory..lastStory, one of them active.
#include "host/Stories.h"
#include "host/sim/SimCallLog.h"
#include "host/sim/SimFaults.h"

namespace sim {

class SimStories : public host::Stories {
public:
    SimStories(SimCallLog& log, SimFaults& faults) : log_(log), faults_(faults) {}

    host::ErrCode GetStorySettings(host::StoryInfo& info) override;

    // Defaults: stories 0..3, story 0 active.
    void SetStories(int16_t firstStory, int16_t lastStory) { info_.firstStory = firstStory; info_.lastStory = lastStory; }
    void SetActiveStory(int16_t story) { info_.actStory = story; }
    const host::StoryInfo& Info() const { return info_; }
    bool IsStory(int16_t story) const { return story >= info_.firstStory && story <= info_.lastStory; }

private:
    SimCallLog& log_;
    SimFaults& faults_;
    host::StoryInfo info_{0, 3, 0};
};

}  // namespace sim
