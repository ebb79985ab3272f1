#pragma once

#include "platform/core/text/hash.h"
#include "platform/os/comapartment.h"
#include "platform/os/ownedinterface.h"
#include "trace/schema/eventschema.h"

#include <windows.h>

#include <wbemcli.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace keyreap {

using OwnedClass = OwnedInterface<IWbemClassObject>;

// The event classes that the system publishes in the WMI namespace "root\wmi". Lives on one thread, where it
// initialises COM for as long as it lives.
class WmiConnection : public EventClasses {
public:
    // Connects. A failure is not reported: without a connection no event has a class.
    WmiConnection();
    WmiConnection(const WmiConnection&) = delete;
    WmiConnection& operator=(const WmiConnection&) = delete;

    // The class that describes an event, or an empty owner. A subclass whose event types can't be read counts
    // as a match.
    OwnedClass FindEventClass(std::wstring_view guidText, std::uint16_t version, std::uint8_t type);

    SchemaLookup Load(std::wstring_view guidText, std::uint16_t version, std::uint8_t type,
                      EventSchema& schema) override;

private:
    void Connect();
    OwnedInterface<IEnumWbemClassObject> EnumerateClasses(const wchar_t* superclass, LONG flags) const;
    OwnedClass FindVersionClass(std::wstring_view guidText, std::uint16_t version) const;
    OwnedClass FindTypeClass(IWbemClassObject& versionClass, std::uint8_t type) const;

    ComApartment apartment{ApartmentExit::always}; // left last, when the interfaces below are released
    OwnedInterface<IWbemServices> services;
    // The result of every look-up of a version class, found or not, by GUID text, "#" and version.
    // Deliberate: nothing reads it.
    std::unordered_map<std::wstring, std::vector<OwnedClass>, Fnv1aHash, std::equal_to<>> classList;
};

} // namespace keyreap
