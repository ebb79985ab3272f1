#pragma once

#include "kit/emit/installbuilder.h"
#include "tests/unit/capture/capturelines.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

// Captures as lines, and what becomes of them with one server, Z:\build\bin\a.dll.
namespace keyreap::testsupport {

struct Emitted {
    InstallSettings settings;
    InstallData data;
    std::vector<EmitNote> notes;

    // Of the whole list, with key and value before the reason.
    std::vector<std::wstring> Reasons() const {
        std::vector<std::wstring> reasons;
        for (const EmitNote& note : notes) {
            const std::wstring value =
                note.place.isKey || note.place.key.empty() ? L"" : L'|' + note.place.value;
            reasons.push_back(note.place.key + value + L": " + note.reason);
        }
        return reasons;
    }
};

inline InstallSettings SettingsOf(std::initializer_list<std::wstring_view> servers = {L"a.dll"}) {
    InstallSettings settings;
    settings.product = ParseGuid(L"{B29A312E-EB83-43BC-A846-E0C0563B8801}");
    settings.directory = L"DIR";
    for (const std::wstring_view server : servers) {
        settings.servers.push_back(
            {std::wstring(server), {}, L"Z:\\build\\bin\\" + std::wstring(server), {}});
    }
    return settings;
}

inline Emitted EmittedOf(const InstallSettings& settings, std::initializer_list<std::wstring_view> lines) {
    Emitted emitted{settings, {}, {}};
    const std::vector<Capture> captures = {{L"a.reg", DocumentOf(lines)}};
    emitted.data = InstallDataOf(captures, settings, emitted.notes);
    return emitted;
}

inline Emitted EmittedOf(std::initializer_list<std::wstring_view> lines) {
    return EmittedOf(SettingsOf(), lines);
}

} // namespace keyreap::testsupport
