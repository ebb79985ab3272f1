#include "tests/unit/etl/logbuilder.h"
#include "tools/etlprinter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace keyreap {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct Printed {
    bool complete = false;
    std::string text;
};

Printed Print(const Bytes& log, bool eachEvent) {
    MemorySource source(log);
    std::ostringstream out;
    const bool complete = PrintLog(source, eachEvent, out);
    return {complete, out.str()};
}

TEST(PrintLog, PrintsTheHeader) {
    const Printed printed = Print(LogOf({}), false);
    EXPECT_TRUE(printed.complete);
    EXPECT_THAT(printed.text, HasSubstr("logger The logger\n"));
    EXPECT_THAT(printed.text, HasSubstr("file C:\\the.etl\n"));
    EXPECT_THAT(printed.text, HasSubstr("pointer size 8, processors 4, system 6.1.7601\n"));
    EXPECT_THAT(printed.text, HasSubstr("events lost 9, buffers lost 8\n"));
}

TEST(PrintLog, CountsEventsByTheirKind) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1), NumberedRecord(2)}), Layout().Zeros(1024).bytes});
    const Printed printed = Print(log, false);
    EXPECT_THAT(
        printed.text,
        HasSubstr("2 of {ae53722e-c863-11d2-8659-00c04fa321a1} id 0 type 10 version 2 pointer size 8\n"));
    EXPECT_THAT(printed.text, HasSubstr("3 events in 3 buffers, 1 of them damaged\n"));
    EXPECT_THAT(printed.text, Not(HasSubstr(" thread ")));
}

TEST(PrintLog, ListsEachEventOnRequestWithTheContentOfRegistryEvents) {
    Layout payload;
    payload.U64(1).U32(0xC0000034).U32(2).U64(0xFFFFF80000001000).Text(L"N\x00E4me");
    const Bytes log = LogOf({BufferOf({SystemRecord(2, 0x090B, 2, payload.bytes, 44)})});
    const Printed printed = Print(log, true);
    EXPECT_THAT(printed.text, HasSubstr(" process 44 thread 287454020 {ae53722e-"));
    EXPECT_THAT(printed.text, HasSubstr(" status c0000034 key fffff80000001000 name N\\u00e4me\n"));
}

TEST(PrintLog, ReportsALogThatCannotBeReadToItsEnd) {
    const Bytes log = LogOf({BufferOf({NumberedRecord(1)})});
    MemorySource source(log);
    source.failFrom = 2; // after the size and the first buffer, which contain the header
    std::ostringstream out;
    EXPECT_FALSE(PrintLog(source, false, out));
    EXPECT_THAT(out.str(), HasSubstr("logger The logger\n"));
    EXPECT_THAT(out.str(), HasSubstr("the log could not be read to its end\n"));
}

TEST(PrintLog, ReportsAFileThatIsNoLog) {
    const Printed printed = Print(Layout().Zeros(100).bytes, false);
    EXPECT_FALSE(printed.complete);
    EXPECT_EQ(printed.text, "not an event trace log\n");
}

} // namespace
} // namespace keyreap
