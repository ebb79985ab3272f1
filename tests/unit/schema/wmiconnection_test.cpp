#include "tests/support/importreplacement.h"
#include "tests/support/tracebuilder.h"
#include "tests/unit/schema/fakewmi.h"
#include "tests/unit/trace/recordinghandler.h"
#include "trace/registryfields.h"
#include "trace/schema/wmiconnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

using Calls = std::vector<std::wstring>;

constexpr wchar_t registryGuidText[] = L"{AE53722E-C863-11D2-8659-00C04FA321A1}";
constexpr wchar_t otherGuid[] = L"{3D6FA8D1-FE05-11D0-9DDA-00C04FD7BA7C}";

// After each test no object of the fake WMI may have a reference.
class WmiTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(FakeWmi::LiveObjects(), 1); } // the class factory of `wmi`

    FakeClass& AddVersionClass(std::wstring name, const wchar_t* guid, std::optional<long> version) {
        FakeClass& added = wmi.AddClass(L"EventTrace", std::move(name));
        added.qualifiers.Add(L"Guid", guid);
        if (version) {
            added.qualifiers.Add(L"EventVersion", *version);
        }
        return added;
    }

    FakeClass& AddTypeClass(const std::wstring& superclass, std::wstring name, const _variant_t& types) {
        FakeClass& added = wmi.AddClass(superclass, std::move(name));
        added.qualifiers.Add(L"EventType", types);
        return added;
    }

    // The name of the class found for a registry event, or an empty text.
    std::wstring Find(std::uint16_t version, std::uint8_t type, std::wstring_view guid = registryGuidText) {
        WmiConnection connection;
        const OwnedClass found = connection.FindEventClass(guid, version, type);
        _variant_t name;
        if (found.Valid()) {
            found.Get()->Get(L"__RELPATH", 0, &name, nullptr, nullptr);
        }
        return found.Valid() ? static_cast<const wchar_t*>(_bstr_t(name)) : L"";
    }

    FakeWmi wmi;
};

using Connecting = WmiTest;
using FindEventClass = WmiTest;
using SchemaPath = WmiTest;

TEST_F(Connecting, ConnectsToTheEventClassesAsItsOwnUser) {
    static_cast<void>(WmiConnection());
    EXPECT_EQ(wmi.calls, (Calls{L"connect root\\wmi", L"blanket 10 0 4 3 0"}));
}

TEST_F(Connecting, FailureIsNotReportedAndNoEventHasAClass) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    wmi.createStatus = E_FAIL;
    EXPECT_EQ(Find(2, 14), L"");
    wmi.createStatus = S_OK;
    wmi.connectStatus = E_ACCESSDENIED;
    EXPECT_EQ(Find(2, 14), L"");
    EXPECT_EQ(wmi.calls, Calls{L"connect root\\wmi"});
    wmi.connectStatus = S_OK;
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
}

TEST_F(Connecting, FailedProxyBlanketReleasesTheServices) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    wmi.blanketStatus = E_FAIL;
    EXPECT_EQ(Find(2, 14), L"");
    EXPECT_EQ(wmi.calls, (Calls{L"connect root\\wmi", L"blanket 10 0 4 3 0"}));
}

TEST_F(FindEventClass, EnumeratesDeepBelowEventTraceAndThenShallowBelowTheVersionClass) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
    EXPECT_EQ(Calls(wmi.calls.begin() + 2, wmi.calls.end()),
              (Calls{L"enumerate EventTrace " + std::to_wstring(0x20020),
                     L"enumerate Registry " + std::to_wstring(0x20021)}));
}

TEST_F(FindEventClass, GuidIsComparedInAnyCase) {
    AddVersionClass(L"Registry", L"{ae53722e-c863-11d2-8659-00c04fa321a1}", 2);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
}

TEST_F(FindEventClass, ClassOfAnotherGuidIsSkipped) {
    AddVersionClass(L"Thread", otherGuid, 2);
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Thread", L"Thread_TypeGroup1", 14L);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
}

TEST_F(FindEventClass, ClassWithoutReadableGuidOrQualifiersIsSkipped) {
    wmi.AddClass(L"EventTrace", L"Bare");
    wmi.AddClass(L"EventTrace", L"Closed").qualifiers.status = E_FAIL;
    wmi.AddClass(L"EventTrace", L"Broken").qualifiers.AddUnreadable(L"Guid", E_FAIL);
    AddVersionClass(L"Registry", registryGuidText, 2);
    for (const wchar_t* name : {L"Bare", L"Closed", L"Broken"}) {
        AddTypeClass(name, L"Wrong", 14L);
    }
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
}

TEST_F(FindEventClass, ClassOfAnotherVersionIsSkipped) {
    AddVersionClass(L"Registry_V1", registryGuidText, 1);
    AddVersionClass(L"Registry_V2", registryGuidText, 2);
    AddTypeClass(L"Registry_V1", L"Old", 14L);
    AddTypeClass(L"Registry_V2", L"New", 14L);
    EXPECT_EQ(Find(2, 14), L"New");
    EXPECT_EQ(Find(1, 14), L"Old");
    EXPECT_EQ(Find(3, 14), L"");
}

TEST_F(FindEventClass, ClassWithoutEventVersionDescribesEveryVersion) {
    AddVersionClass(L"Registry", registryGuidText, std::nullopt);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(0, 14), L"Registry_TypeGroup1");
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
    EXPECT_EQ(Find(65535, 14), L"Registry_TypeGroup1");
}

TEST_F(FindEventClass, FirstClassInEnumerationOrderWins) {
    AddVersionClass(L"Any", registryGuidText, std::nullopt);
    AddVersionClass(L"Exact", registryGuidText, 2);
    AddTypeClass(L"Any", L"OfAny", 14L);
    AddTypeClass(L"Exact", L"OfExact", 14L);
    EXPECT_EQ(Find(2, 14), L"OfAny");
}

TEST_F(FindEventClass, UnreadableEventVersionIsNotAMatch) {
    AddVersionClass(L"Broken", registryGuidText, std::nullopt)
        .qualifiers.AddUnreadable(L"EventVersion", E_FAIL);
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Broken", L"Wrong", 14L);
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"Registry_TypeGroup1");
}

TEST_F(FindEventClass, VersionClassWithoutPathHasNoTypes) {
    AddVersionClass(L"Registry", registryGuidText, 2).hasPath = false;
    AddTypeClass(L"Registry", L"Registry_TypeGroup1", 14L);
    EXPECT_EQ(Find(2, 14), L"");
}

TEST_F(FindEventClass, VersionClassWithoutSubclassesHasNoTypes) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    EXPECT_EQ(Find(2, 14), L"");
}

TEST_F(FindEventClass, WithoutClassesNoneIsFound) {
    EXPECT_EQ(Find(2, 14), L"");
    EXPECT_EQ(wmi.calls.size(), 3U);
}

TEST_F(FindEventClass, FailingEnumerationEndsTheSearch) {
    AddVersionClass(L"Registry", otherGuid, 2);
    wmi.nextStatus = E_FAIL;
    EXPECT_EQ(Find(2, 14), L"");
}

TEST_F(FindEventClass, EventTypeIsComparedAsANumber) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Create", 10L);
    AddTypeClass(L"Registry", L"SetValue", 14L);
    AddTypeClass(L"Registry", L"Text", L"15");
    EXPECT_EQ(Find(2, 10), L"Create");
    EXPECT_EQ(Find(2, 14), L"SetValue");
    EXPECT_EQ(Find(2, 15), L"Text");
    EXPECT_EQ(Find(2, 16), L"");
}

TEST_F(FindEventClass, EventTypeThatIsAnArrayMatchesEachElement) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Keys", ArrayOf(VT_I4, {10, 11, 12}));
    AddTypeClass(L"Registry", L"Values", ArrayOf(VT_I4, {14, 15}));
    EXPECT_EQ(Find(2, 10), L"Keys");
    EXPECT_EQ(Find(2, 12), L"Keys");
    EXPECT_EQ(Find(2, 14), L"Values");
    EXPECT_EQ(Find(2, 15), L"Values");
    EXPECT_EQ(Find(2, 16), L"");
}

TEST_F(FindEventClass, ElementsOfAnArrayAreReadInTheirOwnWidth) {
    for (const VARTYPE elementType : {VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_VARIANT}) {
        wmi.classes.clear();
        AddVersionClass(L"Registry", registryGuidText, 2);
        AddTypeClass(L"Registry", L"Values", ArrayOf(elementType, {1, 14, 3}));
        EXPECT_EQ(Find(2, 14), L"Values") << elementType;
        EXPECT_EQ(Find(2, 3), L"Values") << elementType;
        EXPECT_EQ(Find(2, 0), L"") << elementType;
    }
}

TEST_F(FindEventClass, ArrayOfTextsMatchesByTheirNumbers) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Values", ArrayOfTexts({L"no number", L"14"}));
    EXPECT_EQ(Find(2, 14), L"Values");
    EXPECT_EQ(Find(2, 0), L"");
}

TEST_F(FindEventClass, EmptyArrayMatchesNothing) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Nothing", ArrayOf(VT_I4, {}));
    EXPECT_EQ(Find(2, 0), L"");
}

TEST_F(FindEventClass, ElementsTooLargeForAVariantMatchNothing) {
    _variant_t decimals;
    V_ARRAY(&decimals) = SafeArrayCreateVector(VT_DECIMAL, 0, 2);
    V_VT(&decimals) = VT_ARRAY | VT_DECIMAL;
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Decimals", decimals);
    EXPECT_EQ(Find(2, 0), L"");
}

TEST_F(FindEventClass, ElementsOfNoTypeMatchNothing) {
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(SafeArrayAllocDescriptor(1, &array), S_OK);
    array->cbElements = sizeof(LONG);
    array->rgsabound[0] = {2, 0};
    ASSERT_EQ(SafeArrayAllocData(array), S_OK);
    static_cast<LONG*>(array->pvData)[1] = 14;
    _variant_t untyped;
    V_ARRAY(&untyped) = array;
    V_VT(&untyped) = VT_ARRAY | VT_I4;
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Untyped", untyped);
    EXPECT_EQ(Find(2, 14), L"");
    EXPECT_EQ(Find(2, 0), L"");
}

TEST_F(FindEventClass, ArrayOfTwoDimensionsMatchesNothing) {
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    _variant_t table;
    V_ARRAY(&table) = SafeArrayCreate(VT_I4, 2, bounds);
    V_VT(&table) = VT_ARRAY | VT_I4;
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Table", table);
    EXPECT_EQ(Find(2, 0), L"");
}

TEST_F(FindEventClass, SubclassWithoutReadableEventTypeMatches) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Ahead", 10L);
    wmi.AddClass(L"Registry", L"Untyped");
    AddTypeClass(L"Registry", L"Exact", 14L);
    EXPECT_EQ(Find(2, 14), L"Untyped");
    EXPECT_EQ(Find(2, 10), L"Ahead");
    EXPECT_EQ(Find(2, 99), L"Untyped");
}

TEST_F(FindEventClass, SubclassWhoseQualifiersFailMatches) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    wmi.AddClass(L"Registry", L"Closed").qualifiers.status = E_FAIL;
    AddTypeClass(L"Registry", L"Exact", 14L);
    EXPECT_EQ(Find(2, 14), L"Closed");
}

TEST_F(FindEventClass, SubclassWhoseEventTypeFailsMatches) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    wmi.AddClass(L"Registry", L"Broken").qualifiers.AddUnreadable(L"EventType", E_FAIL);
    AddTypeClass(L"Registry", L"Exact", 14L);
    EXPECT_EQ(Find(2, 14), L"Broken");
}

TEST_F(FindEventClass, VersionClassesOfEveryLookUpAreKeptForTheLifeOfTheConnection) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    AddTypeClass(L"Registry", L"Values", 14L);
    WmiConnection connection;
    const int before = FakeWmi::LiveObjects();
    for (int i = 0; i < 3; ++i) {
        connection.FindEventClass(registryGuidText, 2, 14);
        connection.FindEventClass(otherGuid, 2, 14);
    }
    EXPECT_EQ(FakeWmi::LiveObjects(), before + 3);
}

// The class of registry events of version 2, as the system publishes it, but with its names in another order.
void AddRegistryClass(FakeWmi& wmi) {
    FakeClass& version = wmi.AddClass(L"EventTrace", L"Registry");
    version.qualifiers.Add(L"Guid", registryGuidText).Add(L"EventVersion", 2L);
    FakeClass& types = wmi.AddClass(L"Registry", L"Registry_TypeGroup1");
    types.qualifiers.Add(L"EventType", ArrayOf(VT_I4, {10, 11, 14}));
    types.AddProperty(L"KeyName", CIM_STRING, 5)
        .Add(L"StringTermination", L"NullTerminated")
        .Add(L"Format", L"w");
    types.AddProperty(L"KeyHandle", CIM_UINT32, 4).Add(L"Pointer", true);
    types.AddProperty(L"InitialTime", CIM_SINT64, 1);
    types.AddProperty(L"Index", CIM_UINT32, 3);
    types.AddProperty(L"Status", CIM_UINT32, 2);
}

// Decodes by the event classes and keeps the fields.
class FieldsHandler : public TraceEventHandler {
public:
    FieldsHandler() : TraceEventHandler(EventDecoding::schema) {}
    bool Accepts(const TraceEvent& event) const override { return event.guid == RegistryGuid; }
    void OnDecodedEvent(const TraceEvent&, const EventValues* values) override {
        fields.push_back(ReadSchemaFields(*values, PointerSize()));
    }
    std::vector<RegistryFields> fields;
};

std::size_t Enumerations(const FakeWmi& wmi) {
    return static_cast<std::size_t>(std::count_if(wmi.calls.begin(), wmi.calls.end(), [](const auto& call) {
        return call.starts_with(L"enumerate EventTrace");
    }));
}

TEST_F(SchemaPath, ReadsRegistryEventsLikeTheFixedLayoutInBothPointerSizes) {
    AddRegistryClass(wmi);
    for (const std::uint32_t pointerSize : {4U, 8U}) {
        const RegistryFields given{0xFFFFFFFFE1234567, L"Name", 0xC0000034, 7, 9};
        FieldsHandler handler;
        TraceBuilder(pointerSize).Registry(registryevent::setValue, given).Play(handler);
        EXPECT_THAT(handler.fields, ElementsAre(FieldsAre(given.keyHandle, given.name, given.status,
                                                          given.index, given.initialTime)));
    }
}

TEST_F(SchemaPath, TwoEventsOfTheSameClassMakeOneSearch) {
    AddRegistryClass(wmi);
    FieldsHandler handler;
    TraceBuilder().SetValue(1, L"A").SetValue(1, L"B").Play(handler);
    EXPECT_EQ(Enumerations(wmi), 1U);
    ASSERT_EQ(handler.fields.size(), 2U);
    EXPECT_EQ(handler.fields[1].name, L"B");
}

TEST_F(SchemaPath, TwoEventsWithoutClassMakeTwoSearches) {
    AddRegistryClass(wmi);
    FieldsHandler handler;
    TraceBuilder().DeleteValue(1, L"A").DeleteValue(1, L"B").Play(handler);
    EXPECT_EQ(Enumerations(wmi), 2U);
    ASSERT_EQ(handler.fields.size(), 2U);
    EXPECT_EQ(handler.fields[1].name, L"");
    EXPECT_EQ(handler.fields[1].index, 0xFFFFFFFFU);
    EXPECT_EQ(handler.Counters().schemaFailures, 0U);
}

TEST_F(SchemaPath, UnreadableClassIsSearchedOnceAndCounted) {
    AddRegistryClass(wmi);
    wmi.classes[L"Registry"][0].hasNames = false;
    FieldsHandler handler;
    TraceBuilder().SetValue(1, L"A").SetValue(1, L"B").Play(handler);
    EXPECT_EQ(Enumerations(wmi), 1U);
    EXPECT_EQ(handler.Counters().schemaFailures, 1U);
    ASSERT_EQ(handler.fields.size(), 2U);
    EXPECT_EQ(handler.fields[0].name, L"");
}

TEST_F(SchemaPath, ReplayByFixedLayoutsNeverConnects) {
    AddRegistryClass(wmi);
    {
        RecordingHandler handler;
        TraceBuilder().SetValue(1, L"A").Play(handler);
        EXPECT_EQ(handler.decoded.size(), 2U);
    }
    EXPECT_TRUE(wmi.calls.empty());
}

int liveObjectsAtExit = -1;

void WINAPI CountLiveObjects() {
    liveObjectsAtExit = FakeWmi::LiveObjects();
}

TEST_F(WmiTest, InterfacesAreReleasedBeforeTheApartmentIsLeft) {
    AddVersionClass(L"Registry", registryGuidText, 2);
    {
        const testsupport::ImportReplacement replacement("CoUninitialize",
                                                         reinterpret_cast<const void*>(&CountLiveObjects));
        WmiConnection connection;
        connection.FindEventClass(registryGuidText, 2, 14);
        EXPECT_GT(FakeWmi::LiveObjects(), 1);
    }
    CoUninitialize(); // in place of the call that was replaced
    EXPECT_EQ(liveObjectsAtExit, 1);
}

TEST(RealWmi, InitialisesComOnItsThreadForAsLongAsItLives) {
    std::thread([] {
        {
            const WmiConnection connection;
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        }
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoUninitialize();
    }).join();
}

TEST(RealWmi, HasNoClassForAnUnknownGuid) {
    WmiConnection connection;
    EXPECT_FALSE(connection.FindEventClass(L"{00000000-0000-0000-0000-00000000BEEF}", 2, 14).Valid());
}

} // namespace
} // namespace keyreap
