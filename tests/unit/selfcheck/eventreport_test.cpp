#include "etl/etlclasses.h"
#include "tests/support/payloadbuilder.h"
#include "tools/selfcheck/eventreport.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t sample = 40;
constexpr std::uint32_t other = 44;

class EventReports : public testing::Test {
protected:
    EventReports() { vocabulary.Add(L"KeyreapA\\n"); }

    void Event(std::uint32_t process, std::uint8_t type, std::uint64_t key, std::wstring_view name,
               std::uint32_t status = 0) {
        const PayloadBuilder payload = PayloadBuilder().U64(1).U32(status).U32(0).U64(key).WideZ(name);
        EtlEvent event;
        event.guid = etlclass::registry;
        event.type = type;
        event.version = 2;
        event.pointerSize = 8;
        event.processId = process;
        event.payload = payload.bytes;
        report.OnEvent(event);
    }

    Vocabulary vocabulary;
    EventReport report{{{sample, "x64"}}, 8, vocabulary};
};

TEST_F(EventReports, CountTheEventsOfAllProcessesByKind) {
    Event(other, 10, 0, L"A Company");
    Event(sample, 10, 0, L"Other One");
    Event(sample, 27, 5, L"");
    EXPECT_THAT(report.Kinds(), ElementsAre("2 of type 10 version 2 pointer size 8 payload 44",
                                            "1 of type 27 version 2 pointer size 8 payload 26"));
    EXPECT_EQ(report.Versions(), "2");
}

TEST_F(EventReports, EventsOfOtherClassesDoNotCount) {
    EtlEvent event;
    event.guid = etlclass::process;
    report.OnEvent(event);
    EXPECT_THAT(report.Kinds(), IsEmpty());
}

TEST_F(EventReports, OnlyTheSamplesEventsAreListedWithKnownNames) {
    Event(other, 10, 0, L"\\REGISTRY\\MACHINE\\SOFTWARE\\KeyreapA");
    Event(sample, 10, 0, L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-4\\A Person\\KeyreapA", 0xC0000034);
    Event(sample, 14, 0x77, L"n");
    Event(sample, 14, 0x77, L"A Person");
    EXPECT_THAT(
        report.SampleEvents(),
        ElementsAre("x64 type 10 status c0000034 key 0 name \\REGISTRY\\USER\\S-1-5-21-*\\?\\KeyreapA",
                    "x64 type 14 status 00000000 key 1 name n", "x64 type 14 status 00000000 key 1 name ?",
                    "key 1 is not named"));
}

TEST_F(EventReports, HandlesHaveTheNamesThatAnyProcessGaveThem) {
    Event(sample, 14, 0x99, L"n");
    Event(sample, 14, 0x77, L"n");
    Event(other, 25, 0x77, L"\\REGISTRY\\MACHINE\\SOFTWARE\\KeyreapA");
    Event(other, 25, 0x55, L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes");
    EXPECT_THAT(report.SampleEvents(),
                ElementsAre("x64 type 14 status 00000000 key 1 name n",
                            "x64 type 14 status 00000000 key 2 name n", "key 1 is not named",
                            "key 2 is \\REGISTRY\\MACHINE\\SOFTWARE\\KeyreapA"));
}

TEST_F(EventReports, ValuesAreSetOnlyWithSuccess) {
    Event(sample, 14, 1, L"set");
    Event(sample, 14, 1, L"refused", 0xC0000022);
    Event(sample, 16, 1, L"read");
    Event(other, 14, 1, L"of another process");
    EXPECT_THAT(report.ValuesSetBy("x64"), ElementsAre(L"set"));
    EXPECT_THAT(report.ValuesSetBy("x86"), IsEmpty());
}

TEST_F(EventReports, UsersAndNodesAreThoseOfTheSamplesKeys) {
    Event(sample, 10, 0, L"\\REGISTRY\\MACHINE\\SOFTWARE\\WOW6432Node\\KeyreapA");
    Event(sample, 14, 0x77, L"n");
    Event(other, 25, 0x77, L"\\REGISTRY\\USER\\S-1-12-1-1-2-3-4\\KeyreapA");
    Event(other, 10, 0, L"\\REGISTRY\\USER\\S-1-5-18\\Wow6432Node");
    EXPECT_EQ(report.Users(), "S-1-12-1-*");
    EXPECT_EQ(report.Nodes(), "WOW6432Node");
}

} // namespace
} // namespace keyreap
