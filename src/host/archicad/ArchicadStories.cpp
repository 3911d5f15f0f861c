#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadStories::GetStorySettings(host::StoryInfo& info)
{
    API_StoryInfo storyInfo;
    BNZeroMemory(&storyInfo, sizeof storyInfo);
    const GSErrCode err = api::GetStorySettings(&storyInfo);
    info.firstStory = storyInfo.firstStory;
    info.lastStory = storyInfo.lastStory;
    info.actStory = storyInfo.actStory;
    BMKillHandle(reinterpret_cast<GSHandle*>(&storyInfo.data));
    return err;
}

}  // namespace archicad
