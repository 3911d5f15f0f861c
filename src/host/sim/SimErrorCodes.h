#pragma once
// Result codes the simulated host returns, with the values and names of the
// host's own API error codes (module 262, base 0x81060000).
#include "host/HostTypes.h"

namespace sim {

constexpr host::ErrCode APIErrorStart = static_cast<host::ErrCode>(0x81060000u);

constexpr host::ErrCode APIERR_GENERAL = APIErrorStart + 1;
constexpr host::ErrCode APIERR_MEMFULL = APIErrorStart + 2;
constexpr host::ErrCode APIERR_CANCEL = APIErrorStart + 3;
constexpr host::ErrCode APIERR_BADID = APIErrorStart + 101;
constexpr host::ErrCode APIERR_BADINDEX = APIErrorStart + 102;
constexpr host::ErrCode APIERR_BADNAME = APIErrorStart + 103;
constexpr host::ErrCode APIERR_BADPARS = APIErrorStart + 104;
constexpr host::ErrCode APIERR_BADELEMENTTYPE = APIErrorStart + 113;
constexpr host::ErrCode APIERR_NOLIB = APIErrorStart + 204;
constexpr host::ErrCode APIERR_NOTEDITABLE = APIErrorStart + 207;
constexpr host::ErrCode APIERR_DELETED = APIErrorStart + 302;
constexpr host::ErrCode APIERR_INVALFLOOR = APIErrorStart + 305;
constexpr host::ErrCode APIERR_NOTMINE = APIErrorStart + 306;
constexpr host::ErrCode APIERR_NOTINIT = APIErrorStart + 901;
constexpr host::ErrCode APIERR_NESTING = APIErrorStart + 902;
constexpr host::ErrCode APIERR_REFUSEDCMD = APIErrorStart + 904;
constexpr host::ErrCode APIERR_COMMANDFAILED = APIErrorStart + 908;
constexpr host::ErrCode APIERR_NEEDSUNDOSCOPE = APIErrorStart + 909;
constexpr host::ErrCode APIERR_MISSINGDEF = APIErrorStart + 1002;

}  // namespace sim
