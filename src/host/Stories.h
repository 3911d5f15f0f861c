#pragma once
// Story settings ('GSTO'): the add-on reads only the active story index.
#include <cstdint>

#include "host/HostTypes.h"

namespace host {

struct StoryInfo {
    int16_t firstStory = 0;
    int16_t lastStory = 0;
    int16_t actStory = 0;
};

class Stories {
public:
    virtual ~Stories() = default;
    virtual ErrCode GetStorySettings(StoryInfo& info) = 0;
};

}  // namespace host
