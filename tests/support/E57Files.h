#pragma once
// Small E57 files written with the project's own writer.
#include <string>
#include <vector>

#include "e57/Writer.h"

namespace pwtest {

// A coordinate a * i + b of point i (counted within its scan).
struct Linear {
    double a = 1.0, b = 0.0;
};

// One scan per entry of `scanSizes`, points on a line, no colour or pose.
inline void WriteLineScans(const std::string& path, const std::vector<size_t>& scanSizes, Linear x, Linear y,
                           Linear z, e57::FieldEncoding encoding = e57::FieldEncoding::Double)
{
    e57::Writer writer(path);
    for (size_t s = 0; s < scanSizes.size(); ++s) {
        const size_t n = scanSizes[s];
        std::vector<double> cx(n), cy(n), cz(n);
        for (size_t i = 0; i < n; ++i) {
            cx[i] = x.a * double(i) + x.b;
            cy[i] = y.a * double(i) + y.b;
            cz[i] = z.a * double(i) + z.b;
        }
        e57::ScanHeader header;
        header.guid = "{scan-" + std::to_string(s) + "}";
        header.prototype = e57::CartesianFields(encoding);
        writer.BeginScan(header);
        if (n > 0)
            writer.WriteColumns(n, {{cx.data(), nullptr}, {cy.data(), nullptr}, {cz.data(), nullptr}});
        writer.EndScan();
    }
    writer.Close();
}

}  // namespace pwtest
