#include "trace/schema/schemahost.h"

namespace keyreap {

namespace {

class NoEventClasses : public EventClasses {
public:
    SchemaLookup Load(std::wstring_view, std::uint16_t, std::uint8_t, EventSchema&) override {
        return SchemaLookup::noClass;
    }
};

} // namespace

std::unique_ptr<EventClasses> OpenEventClasses() {
    return std::make_unique<NoEventClasses>();
}

std::wstring WidenNarrowText(std::string_view text) {
    std::wstring wide;
    for (const char character : text) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(character));
    }
    return wide;
}

} // namespace keyreap
