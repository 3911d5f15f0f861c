#include "palette/CollectOurLibParts.h"

#include <cctype>
#include <cstring>

#include "host/DefaultCharset.h"
#include "main/Log.h"

namespace {

// A parameter's name: at most its 32 bytes, up to the first zero.
bool NameIs(const host::AddPar& parameter, const char* name)
{
    return std::strncmp(parameter.name.data(), name, parameter.name.size()) == 0;
}

// iDensityPercent + 0.5, truncated toward zero; values outside int32 (and NaN)
// cannot be a density of ours.
int32_t RoundedDensity(double value)
{
    const double shifted = value + 0.5;
    if (!(shifted > -2147483648.0 && shifted < 2147483648.0)) {
        return -1;
    }
    return static_cast<int32_t>(shifted);
}

bool EndsWithGsm(const std::string& name)
{
    if (name.size() <= 4) {
        return false;
    }
    std::string suffix = name.substr(name.size() - 4);
    for (char& c : suffix) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return suffix == ".gsm";
}

}  // namespace

std::string NarrowHostText(const host::UniChar* text, size_t capacity)
{
    // Each UTF-16 unit is cut to its low 8 bits: only ASCII passes unchanged.
    char buffer[257] = {};
    const size_t limit = capacity < 256 ? capacity : 256;
    for (size_t i = 0; i < limit && text[i] != 0; ++i) {
        buffer[i] = static_cast<char>(text[i] & 0xFF);
    }
    // A unit whose low byte is zero (U+0100, ...) ends the text there.
    return std::string(buffer);
}

std::vector<PointCloudEntry> CollectOurLibParts(host::LibParts& libParts)
{
    std::vector<PointCloudEntry> entries;
    // The narrowed 8-bit texts become host strings in the host's default set.
    const host::DefaultCharset& charset = host::CurrentDefaultCharset();

    int32_t count = 0;
    if (libParts.GetNum(count) != host::NoError) {
        Log("CollectOurLibParts: GetNum fehlgeschlagen");
        return entries;
    }

    for (int32_t i = 1; i <= count; ++i) {
        host::LibPart libPart{};
        libPart.index = i;
        if (libParts.Get(libPart) != host::NoError) {
            continue;
        }
        double a = 0.0, b = 0.0;
        int32_t parameterCount = 0;
        host::AddParHandle parameters;
        if (libParts.GetParams(i, a, b, parameterCount, parameters) != host::NoError) {
            continue;
        }

        // Ours are the parts with a source path and a density of at least 1;
        // a later parameter of the same name wins.
        std::string e57Path;
        int32_t density = -1;
        if (parameters) {
            const size_t available = parameters->size();
            const size_t n = parameterCount < 0 ? 0 : static_cast<size_t>(parameterCount);
            for (size_t k = 0; k < n && k < available; ++k) {
                const host::AddPar& parameter = (*parameters)[k];
                if (NameIs(parameter, "sE57Path") && parameter.typeID == host::APIParT_CString) {
                    e57Path = charset.ToUtf8(NarrowHostText(parameter.uStr.data(), parameter.uStr.size()));
                } else if (NameIs(parameter, "iDensityPercent")) {
                    density = RoundedDensity(parameter.real);
                }
            }
        }
        libParts.DisposeAddParHdl(parameters);
        if (e57Path.empty() || density < 1) {
            continue;
        }

        PointCloudEntry entry;
        entry.name = charset.ToUtf8(NarrowHostText(libPart.docu_UName.data(), libPart.docu_UName.size()));
        if (EndsWithGsm(entry.name)) {
            entry.name.resize(entry.name.size() - 4);
        }
        entry.densityPercent = density;
        entry.e57Path = e57Path;
        entry.libIdx = i;
        const size_t lastSlash = e57Path.rfind('/');
        entry.folder = (lastSlash == std::string::npos ? e57Path : e57Path.substr(0, lastSlash)) + "/" + entry.name;
        entry.gspcFileName = entry.name + "_data.gspc";
        entries.push_back(entry);
    }
    return entries;
}
