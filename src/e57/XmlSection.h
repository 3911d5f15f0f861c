#pragma once
// The XML section of an E57 file: read as logical bytes, parsed with pugixml,
// plus the helpers that turn typed E57 elements into values.
#include <cstdint>
#include <string>

#include <pugixml.hpp>

namespace e57 {

class PagedFile;

// Largest XML section accepted; real files stay far below it.
constexpr uint64_t kMaxXmlBytes = 256ull << 20;
// Most XML elements accepted. Each parsed element costs about 64 bytes, so
// this bounds the document's memory (real files hold some thousands).
constexpr uint64_t kMaxXmlElements = 1000000;

class XmlSection {
public:
    // Reads and parses the XML; throws E57Exception when it cannot be read or
    // is not an E57 document.
    void Load(const PagedFile& file, uint64_t xmlPhysicalOffset, uint64_t xmlLogicalLength);

    pugi::xml_node Root() const { return root_; }
    // The scans (children of data3D); empty node when the file has none.
    pugi::xml_node Data3D() const { return root_.child("data3D"); }

private:
    pugi::xml_document doc_;
    pugi::xml_node root_;
};

// Text of a String element: all of its text and CDATA pieces joined.
std::string StringValue(pugi::xml_node node);

// Value of an Integer, ScaledInteger (scaled) or Float element; throws when
// the element has another type or its text is not a number. `what` names the
// element in the message.
double NumberValue(pugi::xml_node node, const std::string& what);

// Parsers for attribute and element texts; empty text gives `fallback`.
int64_t ParseInt64(const char* text, int64_t fallback, const std::string& what);
uint64_t ParseUInt64(const char* text, uint64_t fallback, const std::string& what);
double ParseDouble(const char* text, double fallback, const std::string& what);

}  // namespace e57
