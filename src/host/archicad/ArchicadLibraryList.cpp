#include "host/archicad/ArchicadAdapters.h"
#include "host/archicad/ArchicadApi.h"
#include "host/archicad/ArchicadConversions.h"

namespace archicad {

host::ErrCode ArchicadLibraryList::GetLibraries(std::vector<host::LibraryInfo>& libraries,
                                                int32_t* embeddedLibraryIndex)
{
    GS::Array<API_LibraryInfo> list;
    Int32 embedded = (embeddedLibraryIndex != nullptr) ? *embeddedLibraryIndex : 0;
    const GSErrCode err = api::GetLibraries(&list, (embeddedLibraryIndex != nullptr) ? &embedded : nullptr);
    if (embeddedLibraryIndex != nullptr) {
        *embeddedLibraryIndex = embedded;
    }

    libraries.clear();
    for (UIndex i = 0; i < list.GetSize(); ++i) {
        libraries.push_back(ToPortable(list[i]));
    }
    m_lastRead = list;
    m_lastReadPortable = libraries;
    return err;
}

host::ErrCode ArchicadLibraryList::SetLibraries(const std::vector<host::LibraryInfo>& libraries)
{
    GS::Array<API_LibraryInfo> list;
    for (const host::LibraryInfo& library : libraries) {
        // An entry as it was read goes back as the host's own record.
        bool found = false;
        for (size_t i = 0; i < m_lastReadPortable.size() && i < m_lastRead.GetSize(); ++i) {
            if (SameLibrary(m_lastReadPortable[i], library)) {
                list.Push(m_lastRead[static_cast<UIndex>(i)]);
                found = true;
                break;
            }
        }
        if (!found) {
            list.Push(ToArchicad(library));
        }
    }
    return api::SetLibraries(&list);
}

host::ErrCode ArchicadLibraryList::ReloadLibraries()
{
    return api::ReloadLibraries();
}

}  // namespace archicad
