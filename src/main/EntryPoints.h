#pragma once
// The add-on's entry points and host callbacks, over the bound host (host::CurrentHost()).
#include <cstdint>
#include <string>

#include "host/AddOnRegistration.h"
#include "host/HostTypes.h"

// The portable frame. Its functions carry the names of the host's entry
// points; the namespace keeps them apart from the binding's exported C ones.
namespace frame {

// The name and description fields of the host's API_EnvirParams.
struct EnvirParams {
    std::string addOnName;
    std::string addOnDescription;
};

// Add-on type code 2 of the host.
int32_t CheckEnvironment(EnvirParams& envir);
host::ErrCode RegisterInterface();
host::ErrCode Initialize();
host::ErrCode FreeData();

host::ErrCode MenuCommandHandler(const host::MenuParams& params);

constexpr int32_t kPaletteRefId = 0x50574443;   // 'PWDC'
constexpr uint32_t kPaletteFlags = 1015;
constexpr int16_t kMenuResId = 32500;
constexpr int16_t kPromptResId = 32600;
constexpr int16_t kStringsResId = 32000;
constexpr int16_t kPaletteResId = 32400;

// The palette's identifier, "C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F", with its bytes
// in the host's in-memory GUID layout (first three fields little-endian), so the
// binding can copy them into an API_Guid as they are.
const host::Guid& PaletteGuid();

}  // namespace frame
