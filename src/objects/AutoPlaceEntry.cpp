#include "objects/AutoPlaceEntry.h"

#include <cstdio>

#include "main/Log.h"

void AutoPlaceEntry(host::Host& host, const PointCloudEntry& entry)
{
    char line[128];
    std::snprintf(line, sizeof line, "AutoPlaceEntry: libIdx=%d name=%s", static_cast<int>(entry.libIdx),
                  entry.name.c_str());
    Log(line);

    // Not checked: on failure the cleared record puts the object on story 0.
    host::StoryInfo stories{};
    host.stories.GetStorySettings(stories);
    const int16_t activeStory = stories.actStory;

    host::Element element{};
    host::ElementMemo memo{};
    element.typeID = host::API_ObjectID;

    const host::ErrCode defaultsErr = host.elements.GetDefaults(element, memo);
    if (defaultsErr != host::NoError) {
        host.elements.DisposeElemMemoHdls(memo);
        std::snprintf(line, sizeof line, "GetDefaults: err=%d", static_cast<int>(defaultsErr));
        Log(line);
        return;
    }

    // The part's own default parameters replace those of the object tool.
    // When the editing scope cannot be opened the tool's parameters stay; the
    // part's parameter script still sets its size.
    if (host.libParts.OpenParameters(entry.libIdx) == host::NoError) {
        double a = 0.0;
        double b = 0.0;
        host::AddParHandle partParams;
        if (host.libParts.GetParameters(a, b, partParams) == host::NoError) {
            host.libParts.DisposeAddParHdl(memo.params);
            memo.params = partParams;   // the memo owns the part's list from here on
        }
        host.libParts.CloseParameters();
    }

    // Origin of the active story, standing on the story level; size, angle
    // and layer stay as the tool's defaults give them.
    element.floorInd = activeStory;
    element.libInd = entry.libIdx;
    element.posX = 0.0;
    element.posY = 0.0;
    element.level = 0.0;

    host::ErrCode createErr = host::NoError;
    host.undo.CallUndoableCommand("Punktwolke platzieren", [&]() -> host::ErrCode {
        createErr = host.elements.Create(element, memo);
        return createErr;
    });

    std::snprintf(line, sizeof line, "Element_Create: err=%d", static_cast<int>(createErr));
    Log(line);

    host.elements.DisposeElemMemoHdls(memo);
}
