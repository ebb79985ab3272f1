#include "tests/support/linkedimage.h"

#include "tests/support/sectiontable.h"

#include <utility>

namespace keyreap::testsupport {

namespace {

struct Directory {
    const char* place;
    std::uint32_t index;
};

constexpr Directory tables[] = {{"exports", 0}, {"imports", 1}, {"resources", 2}, {"delayImports", 13}};

} // namespace

BuiltImage LinkedImage(std::string bytes) {
    BuiltImage image{std::move(bytes), {}};
    const CheckedView view(std::as_bytes(std::span(image.bytes)));
    const auto number = [&view](std::size_t place) {
        return view.Read<std::uint32_t>(view.Start() + place).value_or(0);
    };
    const std::size_t nt = number(60);
    const std::size_t optional = nt + 24;
    const bool is64 = (number(optional) & 0xFFFF) == 0x20B;
    const std::size_t directories = optional + (is64 ? 112 : 96);
    const std::size_t sections = optional + (number(nt + 20) & 0xFFFF);
    image.places = {{"dos", 0},
                    {"nt", nt},
                    {"optional", optional},
                    {"directories", directories},
                    {"sections", sections},
                    {"headersEnd", sections + 40 * (number(nt + 4) >> 16)}};
    for (const auto& [place, index] : tables) {
        if (const std::byte* data = DirectoryBySections(view, index)) {
            image.places[place] = static_cast<std::size_t>(data - view.Start());
            image.places[std::string(place) + "End"] =
                image.places[place] + number(directories + 8 * index + 4);
        }
    }
    return image;
}

} // namespace keyreap::testsupport
