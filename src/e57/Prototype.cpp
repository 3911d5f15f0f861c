#include "e57/Prototype.h"

#include <cstring>
#include <limits>

#include "e57/E57Exception.h"
#include "e57/XmlSection.h"

namespace e57 {

namespace {

constexpr int kMaxDepth = 16;

void AddLeaves(pugi::xml_node node, const std::string& prefix, int depth, const std::string& where,
               std::vector<FieldDescription>& out)
{
    if (depth > kMaxDepth)
        throw E57Exception(where + ": prototype nests Structures more than " + std::to_string(kMaxDepth) + " deep");
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        if (c.type() != pugi::node_element)
            continue;
        FieldDescription f;
        f.name = prefix + c.name();
        const std::string what = where + ": prototype field '" + f.name + "'";
        const char* type = c.attribute("type").as_string();
        if (std::strcmp(type, "Structure") == 0) {
            AddLeaves(c, f.name + "/", depth + 1, where, out);
            continue;
        }
        if (std::strcmp(type, "Integer") == 0 || std::strcmp(type, "ScaledInteger") == 0) {
            f.encoding = type[0] == 'I' ? FieldEncoding::Integer : FieldEncoding::ScaledInteger;
            f.minimum = ParseInt64(c.attribute("minimum").value(), std::numeric_limits<int64_t>::min(),
                                   what + " minimum");
            f.maximum = ParseInt64(c.attribute("maximum").value(), std::numeric_limits<int64_t>::max(),
                                   what + " maximum");
            if (f.maximum < f.minimum)
                throw E57Exception(what + " has maximum " + std::to_string(f.maximum) + " below minimum " +
                                   std::to_string(f.minimum));
            f.bitWidth = BitsForRange(f.minimum, f.maximum);
            if (f.encoding == FieldEncoding::ScaledInteger) {
                f.scale = ParseDouble(c.attribute("scale").value(), 1.0, what + " scale");
                f.offset = ParseDouble(c.attribute("offset").value(), 0.0, what + " offset");
            }
        } else if (std::strcmp(type, "Float") == 0) {
            const char* precision = c.attribute("precision").as_string("double");
            if (std::strcmp(precision, "single") == 0) {
                f.encoding = FieldEncoding::Float;
                f.bitWidth = 32;
            } else if (std::strcmp(precision, "double") == 0) {
                f.encoding = FieldEncoding::Double;
                f.bitWidth = 64;
            } else {
                throw E57Exception(what + " has unknown precision '" + precision + "'");
            }
        } else if (std::strcmp(type, "String") == 0) {
            f.encoding = FieldEncoding::String;
            f.bitWidth = 0;
        } else {
            throw E57Exception(what + " has type '" + type + "', which a point record cannot hold");
        }
        if (out.size() >= kMaxPrototypeLeaves)
            throw E57Exception(where + ": prototype has more than " + std::to_string(kMaxPrototypeLeaves) +
                               " fields");
        out.push_back(std::move(f));
    }
}

}  // namespace

unsigned BitsForRange(int64_t minimum, int64_t maximum)
{
    uint64_t range = static_cast<uint64_t>(maximum) - static_cast<uint64_t>(minimum);
    unsigned bits = 0;
    while (range != 0) {
        ++bits;
        range >>= 1;
    }
    return bits;
}

std::vector<FieldDescription> ReadPrototype(pugi::xml_node prototype, const std::string& where)
{
    std::vector<FieldDescription> out;
    if (!prototype)
        throw E57Exception(where + ": points have no prototype");
    if (std::strcmp(prototype.attribute("type").as_string(), "Structure") != 0)
        throw E57Exception(where + ": prototype is not a Structure");
    AddLeaves(prototype, "", 0, where, out);
    return out;
}

}  // namespace e57
