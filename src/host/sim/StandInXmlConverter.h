#pragma once
// The stand-in for the host's library part converter (xml2libpart): checks a
// library part XML document the way the host's converter would refuse it and
// turns it into a stand-in library part (StandInLibPartFile.h).
//
// Checked: well-formed XML; the root Symbol with IsArchivable/IsPlaceable
// ("true"/"false"), MainGUID (8-4-4-4-12 hex), MigrationValue, Owner and
// Signature (32-bit unsigned decimal), Version (integer); the sections Ancestry,
// CalledMacros, Script_3D, Script_2D, Script_1D, Script_UI, Script_VL and
// ParamSection once each and in this order (the host's optional sections such
// as Script_PR or Comment may stand between them), each with integer SectVersion,
// SectionFlags and SubIdent; every script one CDATA section whose GDL strings
// end on their line; the POINTCLOUD statement's single quoted file name; the
// parameter list: one element per parameter named by its type, a unique GDL
// name of at most 31 characters, a Description holding one quoted GDL string in
// CDATA, optional Fix and Flags, and a Value where the type has one (a quoted
// GDL string in CDATA for String, a number for the numeric types, 0 or 1 for
// Boolean), none for Title and Separator.
#include <string>
#include <vector>

#include "host/sim/StandInLibPartFile.h"

namespace sim {

// Converts the XML text. On failure returns false with at least one message in `errors`.
bool ConvertLibPartXml(const std::string& xmlText, StandInLibPart& part, std::vector<std::string>& errors);

// Checks that `text` is exactly one GDL string literal ("..." or '...') and gives its contents.
bool ParseGdlStringLiteral(const std::string& text, std::string& contents);

}  // namespace sim
