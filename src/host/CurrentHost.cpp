#include "host/Host.h"

#include <stdexcept>

namespace host {

namespace {
Host* g_host = nullptr;
}

Host& CurrentHost()
{
    if (g_host == nullptr) {
        throw std::logic_error("no host is bound");
    }
    return *g_host;
}

void SetCurrentHost(Host* h)
{
    g_host = h;
}

}  // namespace host
