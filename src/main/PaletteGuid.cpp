#include "host/Conversions.h"
#include "main/EntryPoints.h"

namespace frame {

const host::Guid& PaletteGuid()
{
    static const host::Guid guid = [] {
        host::Guid parsed;
        host::ParseGuid("C7D4E5F6-1A2B-3C4D-8E9F-0A1B2C3D4E5F", parsed);
        return parsed;
    }();
    return guid;
}

}  // namespace frame
