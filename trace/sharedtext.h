#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <memory>
#include <string_view>

namespace keyreap {

// A text that doesn't change, and that costs nothing to copy: copies share it.
class SharedText {
public:
    SharedText() = default;

    template <std::convertible_to<std::wstring_view> Text>
    SharedText(const Text& text) : length(std::wstring_view(text).size()) {
        if (length != 0) {
            const auto made = std::make_shared_for_overwrite<wchar_t[]>(length);
            std::ranges::copy(std::wstring_view(text), made.get());
            units = made;
        }
    }

    operator std::wstring_view() const { return {units.get(), length}; }
    std::size_t size() const { return length; }
    bool empty() const { return length == 0; }

    template <std::convertible_to<std::wstring_view> Text>
    friend bool operator==(const SharedText& left, const Text& right) {
        return std::wstring_view(left) == std::wstring_view(right);
    }

private:
    std::shared_ptr<const wchar_t[]> units;
    std::size_t length = 0;
};

} // namespace keyreap
