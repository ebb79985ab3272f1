#include "kit/lint/ruletable.h"
#include "kit/lint/securitydescriptor.h"
#include "platform/core/text/compare.h"
#include "regfile/valuetext.h"
#include "regmodel/regplace.h"

#include <algorithm>
#include <array>

// Who may start a server or call its objects.
namespace keyreap {

namespace {

constexpr std::array<std::wstring_view, 2> permissions = {L"LaunchPermission", L"AccessPermission"};

bool IsPermission(const RegEntry& entry, const EntryPlace& place) {
    const RegPlace key = PlaceOf(place.key);
    const bool isAppId = key.scope.area == RegArea::Classes && key.names.size() == 2 &&
                         EqualFolded(key.names.front(), L"AppID");
    return isAppId && entry.kind == RegEntryKind::Value &&
           std::ranges::any_of(permissions,
                               [&entry](std::wstring_view name) { return EqualFolded(name, entry.name); });
}

std::wstring SentenceOn(const RegEntry& entry) {
    if (entry.type != static_cast<std::uint32_t>(RegType::Binary)) {
        return L"is no security descriptor";
    }
    switch (AccessOfEveryoneIn(entry.data)) {
    case AccessOfEveryone::ThisMachine:
        return L"lets everybody in who is on the machine";
    case AccessOfEveryone::OtherMachines:
        return L"lets everybody in, from other machines too";
    case AccessOfEveryone::Unreadable:
        return L"is no security descriptor";
    default:
        return {};
    }
}

} // namespace

void FindOpenPermissions(const LintInput& input, Findings& findings) {
    for (const Capture& capture : input.Captures()) {
        ForEachEntry(capture, [&](const RegEntry& entry, const EntryPlace& place) {
            std::wstring sentence = IsPermission(entry, place) ? SentenceOn(entry) : L"";
            if (!sentence.empty()) {
                findings.push_back({place, std::move(sentence)});
            }
        });
    }
}

} // namespace keyreap
