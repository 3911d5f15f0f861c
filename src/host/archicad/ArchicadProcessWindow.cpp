#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadProcessWindow::Open(const std::string& title, int32_t phaseCount)
{
    GS::UniString hostTitle = ToArchicad(title);
    return api::InitProcessWindow(&hostTitle, phaseCount);
}

host::ErrCode ArchicadProcessWindow::NextPhase(const std::string& title, int32_t maxValue)
{
    GS::UniString subtitle = ToArchicad(title);
    Int32 maxval = maxValue;
    return api::SetNextProcessPhase(&subtitle, &maxval);
}

host::ErrCode ArchicadProcessWindow::SetValue(int32_t value)
{
    Int32 newval = value;
    return api::SetProcessValue(&newval);
}

host::ErrCode ArchicadProcessWindow::IsCanceled(bool& canceled)
{
    const GSErrCode err = api::IsProcessCanceled();
    canceled = (err == APIERR_CANCEL);
    return err;
}

host::ErrCode ArchicadProcessWindow::Close()
{
    return api::CloseProcessWindow();
}

}  // namespace archicad
