#include "tests/support/allocationcount.h"
#include "tests/support/tracebuilder.h"
#include "trace/registryeventhandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t ours = 4711;
constexpr std::uint32_t server = 4712;
constexpr std::uint32_t stranger = 99;
constexpr std::uint64_t handle = 0xFFFFF8A000123450;
constexpr wchar_t acmeKernelPath[] = L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme";

class RegistryEventHandlerTest : public testing::Test {
protected:
    RegistryEventHandlerTest() { handler.AddWatchedProcess(ours); }

    const PieceList<RegistryOperation>& Play(const TraceBuilder& trace) {
        trace.Play(handler);
        return handler.Operations();
    }

    // The only operation of a trace.
    RegistryOperation PlayOne(const TraceBuilder& trace) {
        Play(trace);
        EXPECT_THAT(handler.Operations(), SizeIs(1));
        return handler.Operations().empty() ? RegistryOperation{} : handler.Operations().front();
    }

    RegistryEventHandler handler{true};
};

auto HasPath(std::wstring_view path) {
    return Field("keyPath", &RegistryOperation::keyPath, path);
}

auto IsKey(PredefinedRoot root, std::wstring_view path) {
    return AllOf(Field("root", &RegistryOperation::root, root), HasPath(path));
}

TraceBuilder OurTrace() {
    TraceBuilder trace;
    trace.ByProcess(ours);
    return trace;
}

TraceEvent EventOf(const Guid& guid, std::uint8_t type) {
    TraceEvent event;
    event.guid = guid;
    event.type = type;
    return event;
}

TEST_F(RegistryEventHandlerTest, AcceptsRegistryEventsAndTheLogHeaderAndNothingElse) {
    EXPECT_TRUE(handler.Accepts(EventOf(RegistryGuid, 10)));
    EXPECT_TRUE(handler.Accepts(EventOf(RegistryGuid, 200)));
    EXPECT_TRUE(handler.Accepts(EventOf(EventTraceGuid, 0)));
    EXPECT_FALSE(handler.Accepts(EventOf(EventTraceGuid, 10)));
    EXPECT_FALSE(handler.Accepts(EventOf(ThreadGuid, 10)));
}

TEST_F(RegistryEventHandlerTest, OperationsThatAreTakenKeepTheirTexts) {
    OurTrace().CreateKey(0, acmeKernelPath).SetValue(0, L"Name").Play(handler);
    const RecordedOperations first = handler.TakeOperations();
    EXPECT_THAT(handler.Operations(), IsEmpty());
    OurTrace().CreateKey(0, acmeKernelPath).SetValue(0, L"Name").Play(handler);
    const RecordedOperations second = handler.TakeOperations();
    EXPECT_THAT(first.list, ElementsAre(HasPath(L"SOFTWARE\\Acme"), HasPath(L"")));
    EXPECT_THAT(second.list, ElementsAre(HasPath(L"SOFTWARE\\Acme"), HasPath(L"")));
    EXPECT_EQ(first.list[1].valueName, L"Name");
    EXPECT_EQ(second.list[1].valueName, L"Name");
    EXPECT_NE(first.list[0].keyPath.data(), second.list[0].keyPath.data());
    EXPECT_NE(first.list[1].valueName.data(), second.list[1].valueName.data());
}

TEST_F(RegistryEventHandlerTest, WhatFollowsTakenOperationsDoesNotReadTheirTexts) {
    TraceBuilder before = OurTrace();
    before.KeyHandleNamed(handle, acmeKernelPath).SetValue(handle, L"Name").SetValue(7, L"Name");
    for (const TraceBuilder::Event& event : before.Events()) {
        handler.OnEvent(event.View());
    }
    handler.TakeOperations();
    OurTrace()
        .SetValue(handle, L"Name")
        .KeyHandleNamed(handle, acmeKernelPath)
        .SetValue(handle, L"\\a")
        .Play(handler);
    EXPECT_THAT(handler.Operations(), Each(IsKey(localMachineRoot, L"SOFTWARE\\Acme\\")));
    EXPECT_EQ(handler.Operations()[1].valueName, L"\\a");
}

TEST_F(RegistryEventHandlerTest, TheFirstValueNameMayBeginWithABackslash) {
    EXPECT_EQ(PlayOne(OurTrace().SetValue(0, L"\\a")).valueName, L"\\a");
}

TEST_F(RegistryEventHandlerTest, WhatHasNoNameAtTheEndOfALogIsTriedAgainAtTheEndOfTheNext) {
    OurTrace().SetValue(handle, L"Name").Play(handler);
    OurTrace().KeyHandleNamed(handle, acmeKernelPath).Play(handler);
    EXPECT_THAT(handler.Operations(), ElementsAre(IsKey(localMachineRoot, L"SOFTWARE\\Acme\\")));
}

TEST(RegistryEventHandler, AKeyOfAHandleAndANameHasThePlaceOfItsWholeName) {
    const std::wstring keys[] = {L"\\REGISTRY",
                                 L"\\REGISTRY\\MACHINE\\SOFTWARE",
                                 L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme Tools",
                                 L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes",
                                 L"\\REGISTRY\\USER\\S-1-5-21-1_Classes",
                                 L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\CLSID",
                                 L"Acme"};
    for (const bool classesAsRoot : {false, true}) {
        for (const std::wstring& key : keys) {
            for (const std::wstring name : {L"Classes", L"Classes\\a", L"a\\Wow6432Node\\b", L"\\a"}) {
                RegistryEventHandler both(classesAsRoot);
                OurTrace()
                    .KeyHandleNamed(handle, key)
                    .CreateKey(handle, name)
                    .CreateKey(0, key + L"\\" + name)
                    .Play(both);
                const PieceList<RegistryOperation>& operations = both.Operations();
                EXPECT_THAT(operations[0], IsKey(operations[1].root, operations[1].keyPath))
                    << key << L" and " << name;
            }
        }
    }
}

// The accepted processes and events.

TEST_F(RegistryEventHandlerTest, OnlyWatchedProcessesCount) {
    handler.AddWatchedProcess(server);
    TraceBuilder trace;
    trace.ByProcess(stranger).CreateKey(0, acmeKernelPath);
    trace.ByProcess(0).CreateKey(0, acmeKernelPath);
    trace.ByProcess(server).CreateKey(0, acmeKernelPath);
    trace.ByProcess(ours).CreateKey(0, acmeKernelPath);
    Play(trace);
    ASSERT_THAT(handler.Operations(), SizeIs(2));
    EXPECT_EQ(handler.Operations()[0].processId, server);
    EXPECT_EQ(handler.Operations()[1].processId, ours);
}

TEST_F(RegistryEventHandlerTest, WithNoProcessWatchedEveryOneCounts) {
    RegistryEventHandler unfiltered(true);
    TraceBuilder().ByProcess(stranger).CreateKey(0, acmeKernelPath).Play(unfiltered);
    EXPECT_THAT(unfiltered.Operations(), SizeIs(1));
}

TEST_F(RegistryEventHandlerTest, TypesBelow10AndAbove29AreIgnored) {
    TraceBuilder trace = OurTrace();
    for (const int type : {0, 1, 9, 30, 31, 255}) {
        trace.Registry(static_cast<std::uint8_t>(type), {.name = acmeKernelPath});
    }
    EXPECT_THAT(Play(trace), IsEmpty());
}

TEST_F(RegistryEventHandlerTest, EveryTypeFrom10To29ExceptNamesOfHandlesIsAnOperation) {
    TraceBuilder trace = OurTrace();
    for (std::uint8_t type = 10; type <= 29; ++type) {
        trace.Registry(type, {.keyHandle = 0, .name = acmeKernelPath});
    }
    Play(trace);
    ASSERT_THAT(handler.Operations(), SizeIs(16));
    EXPECT_EQ(handler.Operations().front().type, 10u);
    EXPECT_EQ(handler.Operations()[11].type, 21u);
    EXPECT_EQ(handler.Operations()[12].type, 26u);
    EXPECT_EQ(handler.Operations().back().type, 29u);
}

TEST_F(RegistryEventHandlerTest, TheNameIsAValuesForTypes14To16AndAKeysForAllOtherTypes) {
    TraceBuilder trace = OurTrace();
    for (std::uint8_t type = 10; type <= 29; ++type) {
        trace.Registry(type, {.name = L"Name"});
    }
    for (const RegistryOperation& operation : Play(trace)) {
        const bool concernsValue = operation.type >= 14 && operation.type <= 16;
        EXPECT_EQ(operation.valueName, concernsValue ? L"Name" : L"") << operation.type;
        EXPECT_EQ(operation.keyPath, concernsValue ? L"" : L"Name") << operation.type;
    }
}

TEST_F(RegistryEventHandlerTest, AnOperationKeepsTheFieldsOfItsEvent) {
    TraceBuilder trace = OurTrace();
    trace.Registry(registryevent::openKey, {.keyHandle = handle,
                                            .name = L"Relative",
                                            .status = 0xC0000022,
                                            .index = 5,
                                            .initialTime = 123456789012});
    const RegistryOperation operation = PlayOne(trace);
    EXPECT_EQ(operation.type, registryevent::openKey);
    EXPECT_EQ(operation.status, 0xC0000022u);
    EXPECT_EQ(operation.index, 5u);
    EXPECT_EQ(operation.initialTime, 123456789012);
    EXPECT_EQ(operation.processId, ours);
    EXPECT_EQ(operation.keyHandle, handle);
}

TEST_F(RegistryEventHandlerTest, WithDecodedValuesTheFieldsComeFromTheProperties) {
    EventSchema schema;
    schema.properties.resize(2);
    schema.properties[0].name = L"keyname";
    schema.properties[1].name = L"Status";
    EventValues values(schema);
    values.values = {{{ValueType::bstr, 0, acmeKernelPath}}, {{ValueType::ui4, 7, L""}}};
    TraceEvent event = EventOf(RegistryGuid, registryevent::createKey);
    event.processId = ours;
    handler.OnDecodedEvent(event, &values);
    ASSERT_THAT(handler.Operations(), SizeIs(1));
    EXPECT_EQ(handler.Operations()[0].keyPath, L"SOFTWARE\\Acme");
    EXPECT_EQ(handler.Operations()[0].status, 7u);
    EXPECT_EQ(handler.Operations()[0].index, 0xFFFFFFFFu);
}

TEST_F(RegistryEventHandlerTest, WithDecodedValuesAHandleIsNamedByTheProperties) {
    EventSchema schema;
    schema.properties.resize(2);
    schema.properties[0].name = L"KeyName";
    schema.properties[1].name = L"KeyHandle";
    EventValues values(schema);
    values.values = {{{ValueType::bstr, 0, acmeKernelPath}}, {{ValueType::ui8, handle, L""}}};
    handler.OnDecodedEvent(EventOf(RegistryGuid, registryevent::kcbCreate), &values);
    const RegistryOperation operation = PlayOne(OurTrace().CreateKey(handle, L"Sub"));
    EXPECT_THAT(operation, IsKey(localMachineRoot, L"SOFTWARE\\Acme\\Sub"));
}

// Names.

TEST_F(RegistryEventHandlerTest, ACompleteNameIsNormalisedAtOnce) {
    const RegistryOperation operation = PlayOne(OurTrace().CreateKey(0, acmeKernelPath));
    EXPECT_THAT(operation, IsKey(localMachineRoot, L"SOFTWARE\\Acme"));
}

TEST_F(RegistryEventHandlerTest, ARelativeNameIsAppendedToTheNameOfItsHandle) {
    const RegistryOperation operation =
        PlayOne(OurTrace().KeyHandleNamed(handle, acmeKernelPath).CreateKey(handle, L"Sub\\Key"));
    EXPECT_THAT(operation, IsKey(localMachineRoot, L"SOFTWARE\\Acme\\Sub\\Key"));
    EXPECT_EQ(operation.keyHandle, 0u);
}

TEST_F(RegistryEventHandlerTest, AValuesKeyIsItsHandlesNameWithATrailingBackslash) {
    const RegistryOperation operation =
        PlayOne(OurTrace().KeyHandleNamed(handle, acmeKernelPath).SetValue(handle, L"Version"));
    EXPECT_EQ(operation.keyPath, L"SOFTWARE\\Acme\\");
    EXPECT_EQ(operation.valueName, L"Version");
}

TEST_F(RegistryEventHandlerTest, NamesOfHandlesAreTakenFromAnyProcess) {
    TraceBuilder trace;
    trace.ByProcess(stranger).KeyHandleNamed(handle, acmeKernelPath);
    trace.ByProcess(stranger).SetValue(handle, L"Dropped");
    trace.ByProcess(0).KeyHandleNamed(handle + 1, L"\\REGISTRY\\MACHINE\\SYSTEM");
    trace.ByProcess(ours).SetValue(handle, L"A").SetValue(handle + 1, L"B");
    Play(trace);
    EXPECT_THAT(handler.Operations(), ElementsAre(HasPath(L"SOFTWARE\\Acme\\"), HasPath(L"SYSTEM\\")));
}

TEST_F(RegistryEventHandlerTest, EachOfTheTypes22To25NamesAHandle) {
    for (std::uint8_t type = 22; type <= 25; ++type) {
        RegistryEventHandler fresh(true);
        TraceBuilder trace = OurTrace();
        trace.Registry(type, {.keyHandle = handle, .name = acmeKernelPath}).SetValue(handle, L"V");
        trace.Play(fresh);
        EXPECT_THAT(fresh.Operations(), ElementsAre(HasPath(L"SOFTWARE\\Acme\\"))) << int{type};
    }
}

TEST_F(RegistryEventHandlerTest, TheEndOfAHandleDoesNotForgetItsName) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).KeyHandleDropped(handle, acmeKernelPath);
    trace.SetValue(handle, L"V");
    EXPECT_EQ(PlayOne(trace).keyPath, L"SOFTWARE\\Acme\\");
}

TEST_F(RegistryEventHandlerTest, TheLastNameOfAHandleCountsAndEarlierOperationsKeepTheirs) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).SetValue(handle, L"V");
    trace.KeyHandleNamed(handle, L"\\REGISTRY\\MACHINE\\SYSTEM").SetValue(handle, L"V");
    Play(trace);
    EXPECT_THAT(handler.Operations(), ElementsAre(HasPath(L"SOFTWARE\\Acme\\"), HasPath(L"SYSTEM\\")));
}

TEST_F(RegistryEventHandlerTest, OperationsThatNameOnlyTheSameHandleShareOnePath) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).SetValue(handle, L"V").SetValue(handle, L"W");
    Play(trace);
    ASSERT_THAT(handler.Operations(), SizeIs(2));
    const std::wstring_view first = handler.Operations()[0].keyPath;
    const std::wstring_view second = handler.Operations()[1].keyPath;
    EXPECT_EQ(first.data(), second.data());
}

TEST_F(RegistryEventHandlerTest, AHandleWhoseNameIsNotAKernelPathGivesNoRoot) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, L"Odd").SetValue(handle, L"V").SetValue(handle, L"W");
    Play(trace);
    EXPECT_THAT(handler.Operations(), ElementsAre(IsKey(noRoot, L"Odd\\"), IsKey(noRoot, L"Odd\\")));
}

TEST_F(RegistryEventHandlerTest, AnEmptyNameOfAHandleReplacesTheOneBefore) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).KeyHandleNamed(handle, L"").SetValue(handle, L"V");
    const RegistryOperation operation = PlayOne(trace);
    EXPECT_EQ(operation.keyPath, L"");
    EXPECT_EQ(operation.keyHandle, handle);
}

TEST_F(RegistryEventHandlerTest, AnUnknownHandleLeavesItsOperationUnresolved) {
    const RegistryOperation operation = PlayOne(OurTrace().CreateKey(handle, L"Relative"));
    EXPECT_THAT(operation, IsKey(noRoot, L"Relative"));
    EXPECT_EQ(operation.keyHandle, handle);
}

TEST_F(RegistryEventHandlerTest, ACompleteNameWithAnUnknownHandleKeepsItsRoot) {
    const RegistryOperation operation = PlayOne(OurTrace().OpenKey(handle, acmeKernelPath));
    EXPECT_THAT(operation, IsKey(localMachineRoot, L"SOFTWARE\\Acme"));
    EXPECT_EQ(operation.keyHandle, handle);
}

TEST_F(RegistryEventHandlerTest, TheRundownNamesWhatWasOpenBeforeTheTrace) {
    TraceBuilder trace = OurTrace();
    trace.OpenBefore(handle, acmeKernelPath).SetValue(handle, L"V").CreateKey(handle, L"Sub");
    Play(trace);
    EXPECT_THAT(handler.Operations(), ElementsAre(IsKey(localMachineRoot, L"SOFTWARE\\Acme\\"),
                                                  IsKey(localMachineRoot, L"SOFTWARE\\Acme\\Sub")));
    EXPECT_THAT(handler.Operations(), Each(Field("keyHandle", &RegistryOperation::keyHandle, 0U)));
}

TEST_F(RegistryEventHandlerTest, TheEndOfTheLogForgetsAllNames) {
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).Play(handler);
    OurTrace().SetValue(handle, L"V").Play(handler);
    EXPECT_THAT(handler.Operations(), ElementsAre(HasPath(L"")));
}

TEST_F(RegistryEventHandlerTest, TheNameOfAHandleIsPutBeforeACompleteNameToo) {
    // The handle counts, even if the name is complete.
    TraceBuilder trace = OurTrace();
    trace.KeyHandleNamed(handle, acmeKernelPath).OpenKey(handle, L"\\REGISTRY\\USER\\.DEFAULT");
    EXPECT_EQ(PlayOne(trace).keyPath, L"SOFTWARE\\Acme\\\\REGISTRY\\USER\\.DEFAULT");
}

TEST_F(RegistryEventHandlerTest, AHandlesNameThatIsNotAKernelPathIsAppliedToo) {
    const RegistryOperation operation =
        PlayOne(OurTrace().KeyHandleNamed(handle, L"Odd").CreateKey(handle, L"Sub"));
    EXPECT_THAT(operation, IsKey(noRoot, L"Odd\\Sub"));
    EXPECT_EQ(operation.keyHandle, 0u);
}

TEST_F(RegistryEventHandlerTest, WithoutClassesAsRootClassesStayWhereTheyAre) {
    RegistryEventHandler plain(false);
    TraceBuilder()
        .CreateKey(0, L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme")
        .CreateKey(0, L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\.acme")
        .Play(plain);
    EXPECT_THAT(plain.Operations(), ElementsAre(IsKey(localMachineRoot, L"SOFTWARE\\Classes\\.acme"),
                                                IsKey(currentUserRoot, L"SOFTWARE\\Classes\\.acme")));
}

TEST_F(RegistryEventHandlerTest, A32BitLogsHandlesAreFoundByTheirSignExtendedValue) {
    TraceBuilder trace(4);
    trace.ByProcess(ours).KeyHandleNamed(0x8A123450, acmeKernelPath).SetValue(0x8A123450, L"V");
    trace.SetValue(0x8A123454, L"W");
    Play(trace);
    ASSERT_THAT(handler.Operations(), SizeIs(2));
    EXPECT_EQ(handler.Operations()[0].keyPath, L"SOFTWARE\\Acme\\");
    EXPECT_EQ(handler.Operations()[1].keyHandle, 0xFFFFFFFF8A123454u);
}

// Cost.

TEST_F(RegistryEventHandlerTest, AnEventOfAnotherProcessAllocatesNothing) {
    TraceBuilder trace;
    trace.ByProcess(stranger).SetValue(handle, L"A value name beyond any small buffer");
    trace.ByProcess(ours).Add(ThreadGuid, 10, RegistryPayload({.name = acmeKernelPath}, 2, 8));
    trace.Registry(9, {.name = acmeKernelPath});
    const std::vector<TraceBuilder::Event> events = trace.Events();
    const std::size_t before = AllocationCount();
    // Often enough that memory kept for each event would exceed what the handler has reserved.
    for (int i = 0; i < 10'000; ++i) {
        for (const TraceBuilder::Event& event : events) {
            handler.OnEvent(event.View());
        }
    }
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace keyreap
