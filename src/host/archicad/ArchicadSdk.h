#pragma once
// The one place where the binding includes the Archicad 26 API Development Kit.
//
// The portable host headers come first; binding code after this header uses
// the kit's names (unqualified) for the kit's values.
#include "host/Host.h"
#include "palette/PaletteView.h"

#include "ACAPinc.h"
#include "APIdefs.h"
#include "API_Guid.hpp"

#include "DG.h"
#include "DGModule.hpp"
#include "DGFileDlg.hpp"

#include "Location.hpp"
#include "RS.hpp"
#include "UniString.hpp"
