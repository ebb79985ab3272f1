#pragma once

#include "kit/emit/installdata.h"
#include "regmodel/regobjects.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {

// The entries of one object in all captures and hives, and which of them the manifest says.
class ObjectEntries {
public:
    struct Entry {
        std::vector<std::wstring> key; // the names below the object's own key
        std::wstring name;
        std::optional<InstallValue> value; // none: the key itself, which has neither values nor keys
        EntryPlace place;
        bool isCarried = false;
    };

    ObjectEntries(ObjectKind kind, std::wstring id) : kind(kind), id(std::move(id)) {}

    ObjectKind Kind() const { return kind; }
    const std::wstring& Id() const { return id; }

    // Adds a note if there is such a value already, with other data.
    void Add(Entry entry, std::vector<EmitNote>& notes);

    const std::vector<Entry>& All() const { return entries; }

    // The value of a key, whose names have backslashes between them; null if it isn't there.
    const InstallValue* Find(std::wstring_view key, std::wstring_view name = {}) const;

    // False for a value that is no text, or that contains a path of a server. A missing one counts as empty.
    bool IsText(std::wstring_view key, std::wstring_view name = {}) const;

    // The value's text; empty without one.
    std::wstring Text(std::wstring_view key, std::wstring_view name = {}) const;

    // The manifest says the value, if it is there.
    void Carry(std::wstring_view key, std::wstring_view name = {});

    // The value's text, which the manifest then says if it isn't empty.
    std::wstring TakeText(std::wstring_view key, std::wstring_view name = {});

    // Adds a note for all that the manifest doesn't say.
    void NoteRest(std::vector<EmitNote>& notes,
                  const std::function<std::wstring(const Entry&)>& reason) const;

private:
    using Name = std::pair<std::wstring, std::wstring>; // of a key and a value, folded

    const Entry* EntryAt(std::wstring_view key, std::wstring_view name) const;

    ObjectKind kind;
    std::wstring id;
    std::vector<Entry> entries;
    std::map<Name, std::size_t> values;
};

// True for REG_SZ and REG_EXPAND_SZ.
bool IsOfText(const InstallValue& value);

// Names with backslashes between them.
std::wstring JoinedNames(const std::vector<std::wstring>& names);

} // namespace keyreap
