#pragma once
// The portable add-on frame (src/main/EntryPoints.h) seen from the binding.
//
// The frame's entry points carry the same names and parameter lists as the
// host's C entry points (RegisterInterface, Initialize, FreeData), so the two
// declarations cannot meet in one translation unit. These functions stand
// between them: ArchicadFrame.cpp sees only the frame, the files that include
// the kit see only this header. Nothing here needs the kit.
#include <cstdint>
#include <string>

#include "host/HostTypes.h"

namespace archicad {

int32_t FrameCheckEnvironment(std::string& name, std::string& description);
host::ErrCode FrameRegisterInterface();
host::ErrCode FrameInitialize();
host::ErrCode FrameFreeData();

const host::Guid& FramePaletteGuid();
int16_t FramePaletteResId();

}  // namespace archicad
