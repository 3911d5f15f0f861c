#pragma once
// The project's library list: 'GLIB' (get), 'SLIB' (set), 'RLIB' (reload).
#include <cstdint>
#include <vector>

#include "host/HostTypes.h"

namespace host {

class LibraryList {
public:
    virtual ~LibraryList() = default;
    virtual ErrCode GetLibraries(std::vector<LibraryInfo>& libraries, int32_t* embeddedLibraryIndex) = 0;  // 'GLIB'
    virtual ErrCode SetLibraries(const std::vector<LibraryInfo>& libraries) = 0;                           // 'SLIB'
    virtual ErrCode ReloadLibraries() = 0;                                                                  // 'RLIB'
};

}  // namespace host
