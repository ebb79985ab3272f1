#include "tests/native/regreader.h"

namespace keyreap::fuzz {

namespace {

// Parses an entry from its front. After the first error nothing more is read.
class Reader {
public:
    explicit Reader(std::wstring_view entry) : rest(entry) {}

    std::optional<RegEntry> Entry() {
        RegEntry entry;
        if (!Skip(L"@")) {
            entry.name = QuotedText();
            isSound = isSound && !entry.name.empty();
        }
        Need(L"=");
        Value(entry);
        Need(L"\r\n");
        return isSound && rest.empty() ? std::optional(entry) : std::nullopt;
    }

private:
    bool Skip(std::wstring_view text) {
        if (!rest.starts_with(text)) {
            return false;
        }
        rest.remove_prefix(text.size());
        return true;
    }

    void Need(std::wstring_view text) { isSound = Skip(text) && isSound; }

    wchar_t Next() {
        if (rest.empty()) {
            isSound = false;
            return 0;
        }
        const wchar_t unit = rest.front();
        rest.remove_prefix(1);
        return unit;
    }

    std::wstring QuotedText() {
        std::wstring text;
        Need(L"\"");
        while (isSound && !Skip(L"\"")) {
            const wchar_t unit = Next();
            text += unit == L'\\' ? Next() : unit;
        }
        return text;
    }

    std::uint32_t Hex(int digits) {
        std::uint32_t value = 0;
        for (int i = 0; i < digits; ++i) {
            value = value * 16 + Digit(Next());
        }
        return value;
    }

    std::uint32_t Digit(wchar_t unit) {
        if (unit >= L'0' && unit <= L'9') {
            return static_cast<std::uint32_t>(unit - L'0');
        }
        if (unit >= L'a' && unit <= L'f') {
            return static_cast<std::uint32_t>(unit - L'a') + 10;
        }
        isSound = false;
        return 0;
    }

    void Value(RegEntry& entry) {
        if (rest.starts_with(L"\"")) {
            entry.type = 1;
            PutUnits(entry.data, QuotedText());
        } else if (Skip(L"dword:")) {
            entry.type = 4;
            const std::uint32_t number = Hex(8);
            for (int shift = 0; shift < 32; shift += 8) {
                entry.data.push_back(static_cast<std::uint8_t>(number >> shift));
            }
        } else {
            Need(L"hex");
            entry.type = 3;
            if (Skip(L"(")) {
                entry.type = Hex(1);
                Need(L")");
            }
            Need(L":");
            Pairs(entry.data);
        }
    }

    void Pairs(std::vector<std::uint8_t>& data) {
        while (isSound && !rest.starts_with(L"\r\n")) {
            data.push_back(static_cast<std::uint8_t>(Hex(2)));
            if (Skip(L",") && Skip(L"\\\r\n")) {
                while (Skip(L" ")) {
                }
            }
        }
    }

    static void PutUnits(std::vector<std::uint8_t>& data, std::wstring_view text) {
        for (const wchar_t unit : text) {
            data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
            data.push_back(static_cast<std::uint8_t>(unit >> 8 & 0xFF));
        }
    }

    std::wstring_view rest;
    bool isSound = true;
};

} // namespace

std::optional<RegEntry> ReadRegEntry(std::wstring_view entry) {
    return Reader(entry).Entry();
}

} // namespace keyreap::fuzz
