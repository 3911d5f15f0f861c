#pragma once
// The host bundle of the add-on on Archicad 26. Nothing here needs the kit.
#include "host/Host.h"

namespace archicad {

// The adapters of this folder as one host::Host (built on first use).
host::Host& ArchicadHost();

// Makes ArchicadHost() the current host and installs the palette window
// factory (PunktwolkenPaletteDG). Safe to call at every entry point.
void BindArchicadHost();

}  // namespace archicad
