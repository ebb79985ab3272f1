#include "tools/etlprinter.h"

#include "etl/etlclasses.h"
#include "etl/etllayout.h"
#include "etl/etlreader.h"
#include "platform/os/littleendian.h"

#include <array>
#include <compare>
#include <cstdint>
#include <cstdio>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace keyreap {

namespace {

std::string Hexadecimal(std::uint64_t number, int digits) {
    std::array<char, 17> text;
    std::snprintf(text.data(), text.size(), "%0*llx", digits, static_cast<unsigned long long>(number));
    return text.data();
}

std::string GuidText(const Guid& guid) {
    std::string text = Hexadecimal(guid.data1, 8) + '-' + Hexadecimal(guid.data2, 4) + '-' +
                       Hexadecimal(guid.data3, 4) + '-';
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        text += Hexadecimal(guid.data4[i], 2);
        if (i == 1) {
            text += '-';
        }
    }
    return '{' + text + '}';
}

// Printable ASCII verbatim, every other unit as an escape.
std::string PlainText(std::wstring_view text) {
    std::string plain;
    for (const wchar_t unit : text) {
        if (unit >= L' ' && unit <= L'~') {
            plain += static_cast<char>(unit);
        } else {
            plain += "\\u" + Hexadecimal(static_cast<std::uint16_t>(unit), 4);
        }
    }
    return plain;
}

std::wstring NameAt(std::span<const std::byte> payload, std::size_t offset) {
    std::wstring name;
    for (; offset + 2 <= payload.size(); offset += 2) {
        const auto unit = static_cast<wchar_t>(LoadNumber<std::uint16_t>(payload, offset));
        if (unit == L'\0') {
            break;
        }
        name += unit;
    }
    return name;
}

bool IsCurrentRegistryEvent(const EtlEvent& event) {
    return event.guid == etlclass::registry && event.version >= 2 && event.pointerSize == 8 &&
           event.payload.size() >= etl::registry::keyName;
}

std::string RegistryText(std::span<const std::byte> payload) {
    namespace layout = etl::registry;
    return " status " + Hexadecimal(LoadNumber<std::uint32_t>(payload, layout::status), 8) + " key " +
           Hexadecimal(LoadNumber<std::uint64_t>(payload, layout::keyHandle), 16) + " name " +
           PlainText(NameAt(payload, layout::keyName));
}

// Which events are counted together.
struct EventKind {
    Guid provider;
    std::uint16_t id = 0;
    std::uint8_t type = 0;
    std::uint16_t version = 0;
    std::uint8_t pointerSize = 0;

    auto operator<=>(const EventKind&) const = default;
};

std::string KindText(const EventKind& kind) {
    return GuidText(kind.provider) + " id " + std::to_string(kind.id) + " type " + std::to_string(kind.type) +
           " version " + std::to_string(kind.version) + " pointer size " + std::to_string(kind.pointerSize);
}

class Printer : public EtlListener {
public:
    Printer(std::ostream& out, bool eachEvent) : out(out), eachEvent(eachEvent) {}

    void OnEvent(const EtlEvent& event) override {
        const EventKind kind{event.guid, event.id, event.type, event.version, event.pointerSize};
        ++counts[kind];
        if (eachEvent) {
            out << event.timeStamp << " process " << event.processId << " thread " << event.threadId << ' '
                << KindText(kind) << " payload " << event.payload.size()
                << (IsCurrentRegistryEvent(event) ? RegistryText(event.payload) : "") << '\n';
        }
    }

    void PrintCounts() const {
        for (const auto& [kind, count] : counts) {
            out << count << " of " << KindText(kind) << '\n';
        }
    }

private:
    std::ostream& out;
    bool eachEvent;
    std::map<EventKind, std::uint64_t> counts;
};

void PrintHeader(const EtlLogHeader& header, std::ostream& out) {
    out << "logger " << PlainText(header.loggerName) << '\n'
        << "file " << PlainText(header.logFileName) << '\n'
        << "buffer size " << header.bufferSize << ", buffers written " << header.buffersWritten << ", kept "
        << header.startBuffers << '\n'
        << "mode " << Hexadecimal(header.logFileMode, 8) << ", ceiling " << header.maximumFileSize << " MB\n"
        << "pointer size " << header.pointerSize << ", processors " << header.numberOfProcessors
        << ", system " << int{header.majorVersion} << '.' << int{header.minorVersion} << '.'
        << header.providerVersion << '\n'
        << "clock " << header.reservedFlags << ", ticks a second " << header.perfFreq << '\n'
        << "events lost " << header.eventsLost << ", buffers lost " << header.buffersLost << '\n';
}

} // namespace

bool PrintLog(EtlSource& source, bool eachEvent, std::ostream& out) {
    EtlReader reader(source);
    if (!reader.Open()) {
        out << "not an event trace log\n";
        return false;
    }
    PrintHeader(reader.Header(), out);
    Printer printer(out, eachEvent);
    const bool complete = reader.Process(printer);
    printer.PrintCounts();
    const EtlStatistics& found = reader.Statistics();
    out << found.events << " events in " << found.buffers << " buffers, " << found.damagedBuffers
        << " of them damaged\n";
    if (!complete) {
        out << "the log could not be read to its end\n";
    }
    return complete;
}

} // namespace keyreap
