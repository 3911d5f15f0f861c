#include "objects/FindPlacedInstances.h"

std::vector<host::Guid> FindPlacedInstances(host::Elements& elements, int32_t libIdx)
{
    // No filter flags: every object of the project counts, whatever its story
    // or layer. A failed list request simply leaves the list empty.
    std::vector<host::Guid> all;
    elements.GetElemList(host::API_ObjectID, all);

    std::vector<host::Guid> found;
    for (const host::Guid& guid : all) {
        host::Element element{};
        element.guid = guid;
        // Elements that cannot be read are skipped silently.
        if (elements.Get(element) == host::NoError && element.libInd == libIdx) {
            found.push_back(guid);
        }
    }
    return found;
}
