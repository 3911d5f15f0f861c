#include "host/Conversions.h"
#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

void ArchicadReportWindow::WriteReport(const std::string& text, bool withAlert)
{
    // The host reads its first argument as a printf format: a literal percent
    // sign (as in "10% der Punkte") must reach it doubled.
    ACAPI_WriteReport(ToArchicad(host::DoublePercent(text)), withAlert);
}

}  // namespace archicad
