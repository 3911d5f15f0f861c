#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadUndoableCommand::CallUndoableCommand(const std::string& undoText,
                                                           const std::function<host::ErrCode()>& command)
{
    return ACAPI_CallUndoableCommand(ToArchicad(undoText), [&command]() -> GSErrCode {
        try {
            return command();
        } catch (...) {
            return APIERR_GENERAL;   // nothing may unwind into the host; the host undoes the step
        }
    });
}

}  // namespace archicad
