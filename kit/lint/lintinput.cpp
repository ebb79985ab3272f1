#include "kit/lint/lintinput.h"

#include "kit/capture/serverpaths.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regfile/valuetext.h"

#include <algorithm>
#include <iterator>

namespace keyreap {

namespace {

// True for a resource's number after a file's name.
bool IsNumberOfResource(std::wstring_view text) {
    const std::size_t end = std::min(text.find(L' '), text.size());
    return end > 1 && text.front() == L'\\' &&
           text.substr(1, end - 1).find_first_not_of(L"0123456789") == std::wstring_view::npos;
}

// True if what follows a blank can be no part of the path before it: arguments, or a path of its own.
bool AreArguments(std::wstring_view text) {
    const std::size_t separator = text.find_first_of(L"\\/");
    const std::wstring_view name = text.substr(0, separator);
    return separator == std::wstring_view::npos || name.empty() || name.starts_with(L'-') ||
           name.ends_with(L' ') || name.find_first_of(L":%") != std::wstring_view::npos;
}

// True if a file's name may end before a text.
bool IsAfterFile(std::wstring_view text) {
    const std::size_t argument = text.find_first_not_of(L' ');
    return argument == std::wstring_view::npos || IsNumberOfResource(text) ||
           (argument > 0 && AreArguments(text.substr(argument)));
}

// The full path of a file, without what follows its extension: arguments, or a resource's number. A folder's
// name may have a dot too.
std::wstring FileIn(std::wstring_view text) {
    constexpr std::size_t longestExtension = 4;
    const std::wstring path = AbsolutePathIn(text);
    for (std::size_t dot = path.find(L'.'); dot != std::wstring::npos; dot = path.find(L'.', dot + 1)) {
        const std::size_t end = std::min(path.find_first_of(L" \\/.", dot + 1), path.size());
        if (end > dot + 1 && end - dot - 1 <= longestExtension &&
            IsAfterFile(std::wstring_view(path).substr(end))) {
            return path.substr(0, end);
        }
    }
    return {};
}

std::vector<std::wstring> PlacesOfServers(const RegObject& object) {
    std::vector<std::wstring> places;
    if (const auto* const facts = std::get_if<ClassFacts>(&object.facts)) {
        std::ranges::transform(facts->servers, std::back_inserter(places), &ServerFacts::path);
    } else if (const auto* const library = std::get_if<TypeLibFacts>(&object.facts)) {
        for (const TypeLibVersion& version : library->versions) {
            std::ranges::transform(version.files, std::back_inserter(places), &TypeLibFile::path);
        }
    } else if (const auto* const service = std::get_if<ServiceFacts>(&object.facts)) {
        places.push_back(service->imagePath);
    }
    return places;
}

// The files that a capture names as servers.
void AddNamedServers(const RegistryModel& model, std::vector<std::wstring>& servers) {
    for (const RegObject& object : model.objects) {
        for (const std::wstring& place : PlacesOfServers(object)) {
            const std::wstring file = FileIn(place);
            if (!file.empty() && std::ranges::find(servers, file) == servers.end()) {
                servers.push_back(file);
            }
        }
    }
}

std::vector<CapturedPath> PathsOf(std::span<const std::wstring> servers) {
    std::vector<CapturedPath> paths = FilesOfServers(servers);
    std::ranges::move(FoldersOfServers(servers, L""), std::back_inserter(paths));
    return paths;
}

} // namespace

LintInput::LintInput(std::span<const Capture> captures, std::span<const std::wstring> servers,
                     const Capture* against)
    : captures(captures), against(against) {
    models.reserve(captures.size());
    for (const Capture& capture : captures) {
        models.push_back(ModelOf(capture.document));
        for (const RegObject& object : models.back().objects) {
            objects.try_emplace({object.identity.kind, object.identity.id}, &object);
        }
    }
    std::vector<std::wstring> files(servers.begin(), servers.end());
    const auto addNamed = [&files](const RegistryModel& model) { AddNamedServers(model, files); };
    if (servers.empty()) {
        std::ranges::for_each(models, addNamed);
    }
    serverPaths = PathsOf(files);
    if (against != nullptr) {
        std::ranges::for_each(models, addNamed);
        addNamed(ModelOf(against->document));
        comparedPaths = PathsOf(files);
    }
}

bool LintInput::IsThere(ObjectKind kind, std::wstring_view id) const {
    return Find(kind, id) != nullptr;
}

const RegObject* LintInput::Find(ObjectKind kind, std::wstring_view id) const {
    const auto found = objects.find({kind, FoldedText(std::wstring(id))});
    return found == objects.end() ? nullptr : found->second;
}

EntryPlace PlaceOfObject(const Capture& capture, const RegObject& object) {
    if (object.sections.empty()) {
        return {capture.file, 0, {}, true, {}};
    }
    const RegSection& first = capture.document.sections[object.sections.front()];
    const std::wstring path = FoldedText(first.path) + L'\\';
    const std::wstring id = L'\\' + FoldedText(object.id) + L'\\';
    const std::size_t at = path.rfind(id);
    const std::size_t end = at == std::wstring::npos ? first.path.size() : at + id.size() - 1;
    return {capture.file, first.line, first.path.substr(0, end), true, {}};
}

EntryPlace KeyIn(const EntryPlace& key, std::wstring_view name) {
    return {key.file, key.line, key.key + L'\\' + std::wstring(name), true, {}};
}

EntryPlace ValueIn(const EntryPlace& key, std::wstring_view name) {
    return {key.file, key.line, key.key, false, std::wstring(name)};
}

std::set<std::wstring> KeysWithContent(const Capture& capture) {
    std::set<std::wstring> keys;
    std::set<std::wstring> withValues;
    ForEachSection(capture, [&](const RegSection& section, const EntryPlace&) {
        keys.insert(FoldedText(section.path));
        if (!section.entries.empty()) {
            withValues.insert(FoldedText(section.path));
        }
    });
    std::erase_if(keys, [&](const std::wstring& key) {
        const auto next = keys.lower_bound(key + L'\\');
        return !withValues.contains(key) && next != keys.end() && next->starts_with(key + L'\\');
    });
    return keys;
}

} // namespace keyreap
