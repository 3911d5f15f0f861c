#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadProcessWindow::Open(const std::string& title, int32_t phaseCount)
{
    GS::UniString hostTitle = ToArchicad(title);
    short nPhase = static_cast<short>(phaseCount);   // version 26 takes the phase count as short
    return ACAPI_Interface(APIIo_InitProcessWindowID, &hostTitle, &nPhase);
}

host::ErrCode ArchicadProcessWindow::NextPhase(const std::string& title, int32_t maxValue)
{
    GS::UniString subtitle = ToArchicad(title);
    Int32 maxval = maxValue;
    return ACAPI_Interface(APIIo_SetNextProcessPhaseID, &subtitle, &maxval);
}

host::ErrCode ArchicadProcessWindow::SetValue(int32_t value)
{
    Int32 newval = value;
    return ACAPI_Interface(APIIo_SetProcessValueID, &newval);
}

host::ErrCode ArchicadProcessWindow::IsCanceled(bool& canceled)
{
    // Version 26 takes no arguments here and answers through the result code.
    const GSErrCode err = ACAPI_Interface(APIIo_IsProcessCanceledID);
    canceled = (err == APIERR_CANCEL);
    return err;
}

host::ErrCode ArchicadProcessWindow::Close()
{
    return ACAPI_Interface(APIIo_CloseProcessWindowID);
}

}  // namespace archicad
