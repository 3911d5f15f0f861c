#pragma once
// The host string's default character set: how the host turns 8-bit text
// into its strings and back when no character set is named. The add-on's own
// text is UTF-8; the catalogue's narrowed names and paths are 8-bit text in
// this set, and the narrow paths and the re-import report go through it.
#include <array>
#include <string>

namespace host {

class DefaultCharset {
public:
    virtual ~DefaultCharset() = default;
    // 8-bit text in the default set -> UTF-8.
    virtual std::string ToUtf8(const std::string& text) const = 0;
    // UTF-8 -> 8-bit text in the default set (characters it lacks are replaced).
    virtual std::string FromUtf8(const std::string& utf8) const = 0;
};

// UTF-8 as the default set: both directions leave the bytes as they are.
class Utf8DefaultCharset final : public DefaultCharset {
public:
    std::string ToUtf8(const std::string& text) const override { return text; }
    std::string FromUtf8(const std::string& utf8) const override { return utf8; }
};

// An 8-bit code page: bytes below 0x80 are ASCII, bytes 0x80..0xFF stand for
// the code points of `upperHalf`. A character outside the page becomes '?';
// a malformed UTF-8 sequence counts as one such character per byte.
class CodePageCharset final : public DefaultCharset {
public:
    explicit CodePageCharset(const std::array<char32_t, 128>& upperHalf) : upperHalf_(upperHalf) {}
    std::string ToUtf8(const std::string& text) const override;
    std::string FromUtf8(const std::string& utf8) const override;

private:
    std::array<char32_t, 128> upperHalf_;
};

// The default set of the bound host; UTF-8 until SetDefaultCharset names another.
const DefaultCharset& CurrentDefaultCharset();
void SetDefaultCharset(const DefaultCharset* charset);

}  // namespace host
