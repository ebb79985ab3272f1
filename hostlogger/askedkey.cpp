#include "hostlogger/askedkey.h"

#include "hostlogger/requestline.h"

namespace keyreap {

namespace {

constexpr std::uint32_t keyWow64_64Key = 0x0100; // winnt.h
constexpr std::uint32_t keyWow64_32Key = 0x0200; // winnt.h
constexpr std::uint32_t objInherit = 0x2;        // ntdef.h
constexpr std::uint32_t objOpenLink = 0x100;     // ntdef.h

// A create_key has the last three of these in its structure `objattr`, an open_key has all side by side.
void TakeFields(std::string_view fields, AskedKey& asked) {
    for (RequestFields field(fields); field.Next();) {
        if (field.Name() == "access") {
            asked.access = NumberValue(field.Value());
        } else if (field.Name() == (asked.creates ? "rootdir" : "parent")) {
            asked.parent = NumberValue(field.Value());
        } else if (field.Name() == "attributes") {
            asked.attributes = NumberValue(field.Value());
        } else if (field.Name() == "name") {
            asked.name = QuotedValue(field.Value());
        } else if (field.Name() == "objattr" && asked.creates) {
            TakeFields(field.Value(), asked);
        }
    }
}

} // namespace

AskedKey ReadAskedKey(std::string_view fields, bool creates) {
    AskedKey asked;
    asked.creates = creates;
    TakeFields(fields, asked);
    return asked;
}

KeyView ViewOf(const ServerProcess& process, const AskedKey& asked) {
    return {process.machine == machineI386 && (asked.access & keyWow64_64Key) == 0,
            (asked.access & keyWow64_32Key) != 0, (asked.attributes & objOpenLink) != 0};
}

KeyOrigin OriginOf(const ServerProcess& process, const AskedKey& asked) {
    if (asked.parent == 0) {
        return asked.creates ? KeyOrigin::root : KeyOrigin::innerPart;
    }
    const auto found = process.handles.find(asked.parent);
    const ServerHandle parent = found == process.handles.end() ? ServerHandle() : found->second;
    if (parent.origin == KeyOrigin::innerPart) {
        return KeyOrigin::innerPart;
    }
    const bool continuesRoot = asked.creates && parent.origin == KeyOrigin::root &&
                               (asked.access & keyWow64_32Key) != 0 && asked.access == parent.access;
    return continuesRoot ? KeyOrigin::root : KeyOrigin::program;
}

bool AsksForInheritance(std::uint32_t attributes) {
    return (attributes & objInherit) != 0;
}

} // namespace keyreap
