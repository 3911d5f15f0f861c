#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadConversions.h"

#include "DG.h"   // DGAlert

namespace archicad {

int16_t ArchicadAlertDialog::Alert(int16_t alertType, const std::string& title, const std::string& largeText,
                                   const std::string& smallText, const std::string& button1,
                                   const std::string& button2, const std::string& button3)
{
    return DGAlert(alertType, ToArchicad(title), ToArchicad(largeText), ToArchicad(smallText), ToArchicad(button1),
                   ToArchicad(button2), ToArchicad(button3));
}

}  // namespace archicad
