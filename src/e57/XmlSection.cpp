#include "e57/XmlSection.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "e57/E57Exception.h"
#include "e57/PagedFile.h"

namespace e57 {

namespace {

// Trims XML whitespace around a value.
std::pair<const char*, const char*> Trim(const char* text)
{
    const char* b = text;
    const char* e = text + std::strlen(text);
    auto ws = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (b < e && ws(*b))
        ++b;
    while (e > b && ws(e[-1]))
        --e;
    return {b, e};
}

// Steps over a leading '+', which from_chars does not take; a sign after it
// ("+-1") is left for from_chars to refuse.
void SkipPlus(const char*& b, const char* e)
{
    if (*b == '+' && !(e - b > 1 && b[1] == '-'))
        ++b;
}

[[noreturn]] void NotANumber(const char* text, const std::string& what)
{
    std::string shown(text ? text : "");
    if (shown.size() > 40)
        shown = shown.substr(0, 40) + "...";
    throw E57Exception(what + ": '" + shown + "' is not a valid number");
}

}  // namespace

void XmlSection::Load(const PagedFile& file, uint64_t xmlPhysicalOffset, uint64_t xmlLogicalLength)
{
    if (!IsValidPhysicalOffset(xmlPhysicalOffset) || xmlPhysicalOffset >= file.PhysicalLength())
        throw E57Exception("XML section offset " + std::to_string(xmlPhysicalOffset) + " is outside the file");
    if (xmlLogicalLength == 0)
        throw E57Exception("XML section is empty");
    if (xmlLogicalLength > kMaxXmlBytes)
        throw E57Exception("XML section of " + std::to_string(xmlLogicalLength) + " bytes is larger than the " +
                           std::to_string(kMaxXmlBytes >> 20) + " MiB accepted");
    uint64_t start = PhysicalToLogical(xmlPhysicalOffset);
    if (xmlLogicalLength > file.LogicalLength() - start)
        throw E57Exception("XML section at offset " + std::to_string(xmlPhysicalOffset) + " with length " +
                           std::to_string(xmlLogicalLength) + " goes beyond the end of the file");

    size_t size = static_cast<size_t>(xmlLogicalLength);
    void* buf = pugi::get_memory_allocation_function()(size);
    if (!buf)
        throw E57Exception("out of memory for the XML section");
    try {
        file.ReadLogical(start, buf, size);
    } catch (...) {
        pugi::get_memory_deallocation_function()(buf);
        throw;
    }
    // Count element starts before parsing: the parsed document is many times
    // larger than the text of a small element.
    uint64_t elements = 0;
    const char* text = static_cast<const char*>(buf);
    for (const char* p = text; (p = static_cast<const char*>(std::memchr(p, '<', size - size_t(p - text))));) {
        ++p;
        if (p < text + size && *p != '/' && *p != '!' && *p != '?')
            ++elements;
    }
    if (elements > kMaxXmlElements) {
        pugi::get_memory_deallocation_function()(buf);
        throw E57Exception("XML section has more than " + std::to_string(kMaxXmlElements) + " elements");
    }
    // The document takes ownership of the buffer.
    pugi::xml_parse_result r = doc_.load_buffer_inplace_own(buf, size, pugi::parse_default, pugi::encoding_utf8);
    if (!r)
        throw E57Exception(std::string("XML section is not well-formed: ") + r.description() + " at byte " +
                           std::to_string(r.offset));
    root_ = doc_.document_element();
    if (std::strcmp(root_.name(), "e57Root") != 0)
        throw E57Exception(std::string("XML section has root element '") + root_.name() +
                           "' instead of 'e57Root'");
    pugi::xml_node data3D = root_.child("data3D");
    if (data3D && std::strcmp(data3D.attribute("type").as_string(), "Vector") != 0)
        throw E57Exception("data3D is not a Vector");
}

std::string StringValue(pugi::xml_node node)
{
    std::string s;
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata)
            s += c.value();
    return s;
}

int64_t ParseInt64(const char* text, int64_t fallback, const std::string& what)
{
    auto [b, e] = Trim(text ? text : "");
    if (b == e)
        return fallback;
    SkipPlus(b, e);
    int64_t v = 0;
    auto res = std::from_chars(b, e, v);
    if (res.ec != std::errc() || res.ptr != e)
        NotANumber(text, what);
    return v;
}

uint64_t ParseUInt64(const char* text, uint64_t fallback, const std::string& what)
{
    auto [b, e] = Trim(text ? text : "");
    if (b == e)
        return fallback;
    SkipPlus(b, e);
    uint64_t v = 0;
    auto res = std::from_chars(b, e, v);
    if (res.ec != std::errc() || res.ptr != e)
        NotANumber(text, what);
    return v;
}

double ParseDouble(const char* text, double fallback, const std::string& what)
{
    auto [b, e] = Trim(text ? text : "");
    if (b == e)
        return fallback;
    SkipPlus(b, e);
    double v = 0;
    auto res = std::from_chars(b, e, v);
    // Out-of-range values (e.g. 1e999) are clamped by from_chars' contract to
    // "not representable"; treat them as errors like any other junk.
    if (res.ec != std::errc() || res.ptr != e)
        NotANumber(text, what);
    return v;
}

double NumberValue(pugi::xml_node node, const std::string& what)
{
    const char* type = node.attribute("type").as_string();
    const char* text = node.child_value();
    if (std::strcmp(type, "Float") == 0)
        return ParseDouble(text, 0.0, what);
    if (std::strcmp(type, "Integer") == 0)
        return static_cast<double>(ParseInt64(text, 0, what));
    if (std::strcmp(type, "ScaledInteger") == 0) {
        double raw = static_cast<double>(ParseInt64(text, 0, what));
        double scale = ParseDouble(node.attribute("scale").value(), 1.0, what + " scale");
        double offset = ParseDouble(node.attribute("offset").value(), 0.0, what + " offset");
        return raw * scale + offset;
    }
    throw E57Exception(what + " has type '" + type + "' where a number is expected");
}

}  // namespace e57
