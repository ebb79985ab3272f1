#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace keyreap::testsupport {

// The bytes of a version resource, by its published layout (VS_VERSIONINFO).
class VersionResource {
public:
    using Strings = std::map<std::u16string, std::u16string>;

    // The four numbers of the file version; without this call there is no fixed part.
    VersionResource& FileVersion(std::uint16_t first, std::uint16_t second, std::uint16_t third,
                                 std::uint16_t fourth);

    // The strings of one language and code page.
    VersionResource& Table(std::uint16_t language, std::uint16_t codePage, Strings strings);

    // An entry of the translation table, which exists only with an entry.
    VersionResource& Translation(std::uint16_t language, std::uint16_t codePage);

    std::string Bytes() const;

    // The usual resource of a file of one company, in English.
    static std::string Of(std::u16string company);

private:
    struct StringTable {
        std::uint16_t language;
        std::uint16_t codePage;
        Strings strings;
    };

    std::string fixedPart;
    std::vector<StringTable> tables;
    std::string translations;
};

} // namespace keyreap::testsupport
