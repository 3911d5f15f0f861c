#pragma once
// The host bundle of the add-on on Archicad. Nothing here needs the kit.
#include "host/Host.h"

namespace archicad {

// Makes the adapters of this folder the current host (creating them on first
// use, on the heap) and the host's default character set the current one,
// and installs the palette window factory. Safe to call at every entry point.
void BindArchicadHost();

// Unbinds and destroys the adapters: called at the end of FreeData, while the
// kit's services still exist. A later entry point binds anew.
void ReleaseArchicadHost();

// Installs PunktwolkenPaletteDG as the palette's window (PunktwolkenPaletteDG.cpp).
void InstallPaletteViewFactory();

}  // namespace archicad
