// Listeners of the host, and what processes share without files. A listener greets whoever connects.
#include "tests/samples/box/means.h"

#include <algorithm>
#include <cstring>

namespace keyreap::samples::box {

namespace {

constexpr int local = 1;
constexpr int internet4 = 2;
constexpr int internet6 = 10;
constexpr int allPackets = 17;
constexpr int stream = 1;
constexpr int raw = 3;

constexpr std::size_t longestAddress = 110;

class Address {
public:
    explicit Address(int family) { Add16(static_cast<unsigned>(family)); }

    void Add(char unit) {
        if (size < longestAddress) {
            units[size++] = unit;
        }
    }

    void Add(std::string_view text) {
        for (const char unit : text) {
            Add(unit);
        }
    }

    // As this processor has it in memory.
    void Add16(unsigned number) {
        Add(static_cast<char>(number & 0xFF));
        Add(static_cast<char>(number >> 8 & 0xFF));
    }

    // The highest byte first.
    void AddPort(unsigned number) {
        Add(static_cast<char>(number >> 8 & 0xFF));
        Add(static_cast<char>(number & 0xFF));
    }

    void AddZeros(std::size_t count) {
        for (; count > 0; --count) {
            Add('\0');
        }
    }

    Word Greeting(int family, Text& got) const {
        const Word socket = Call(System::Socket, family, stream | closingOnExecution, 0);
        const Word connected = socket < 0 ? socket : Call(System::Connect, socket, &units[0], size);
        return connected < 0 ? connected : ReadBegin(socket, got);
    }

private:
    char units[longestAddress] = {};
    std::size_t size = 0;
};

// The address is in hexadecimal.
Word ConnectByNetwork(const Arguments& arguments, Text& got) {
    const std::string_view digits = arguments[0];
    const int family = digits.size() == 8 ? internet4 : internet6;
    const auto port = static_cast<unsigned>(arguments.NumberAt(1));
    Address address(family);
    address.AddPort(port);
    address.AddZeros(family == internet6 ? 4 : 0);
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        char both[] = {'0', 'x', digits[at], digits[at + 1]};
        address.Add(static_cast<char>(NumberOf(std::string_view(both, sizeof(both)))));
    }
    address.AddZeros(family == internet6 ? 4 : 8);
    return address.Greeting(family, got);
}

Word ConnectByPath(const Arguments& arguments, Text& got) {
    Address address(local);
    address.Add(std::string_view(arguments[0]));
    address.Add('\0');
    return address.Greeting(local, got);
}

Word ConnectByName(const Arguments& arguments, Text& got) {
    Address address(local);
    address.Add('\0');
    address.Add(std::string_view(arguments[0]));
    return address.Greeting(local, got);
}

// All that the network's card receives.
Word ReceivePackets(const Arguments&, Text&) {
    constexpr int everyProtocol = 0x300;
    const Word socket = Call(System::Socket, allPackets, raw, everyProtocol);
    return socket < 0 ? socket : 0;
}

Word SendRawPackets(const Arguments&, Text&) {
    constexpr int echo = 1;
    const Word socket = Call(System::Socket, internet4, raw, echo);
    return socket < 0 ? socket : 0;
}

// A socket of a kind that no namespace may hold. Nothing is sent.
Word MakeSocket(const Arguments& arguments, Text&) {
    const Word socket = Call(System::Socket, arguments.NumberAt(0), stream, 0);
    return socket < 0 ? socket : 0;
}

Word ReadSharedMemory(const Arguments& arguments, Text& got) {
    constexpr std::size_t size = 4096;
    const Word segment = Call(System::SharedMemory, arguments.NumberAt(0), 0, 0);
    const Word address = segment < 0 ? segment : AttachSegment(segment, size);
    if (IsFailure(address)) {
        return address;
    }
    const char* text = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(address));
    got.Append(std::string_view(text, strnlen(text, 60)));
    return 0;
}

// A secret that the kernel keeps: 3 is the keyring of the caller's session, 4 that of the user.
Word ReadKey(const Arguments& arguments, Text& got) {
    constexpr int search = 10;
    constexpr int readKey = 11;
    const Word keyring = -static_cast<Word>(arguments.NumberAt(0));
    char secret[60];
    const Word key = Call(System::Keys, search, keyring, "user", arguments[1], 0);
    const Word size = key < 0 ? key : Call(System::Keys, readKey, key, &secret[0], sizeof(secret), 0);
    got.Append(std::string_view(secret, size < 0 ? 0 : static_cast<std::size_t>(size)));
    return size < 0 ? size : 0;
}

Word MakeSocketOf32Bits(const Arguments& arguments, Text&) {
    constexpr int makeSocket = 359;
    return std::min(CallOf32Bits(makeSocket, static_cast<int>(arguments.NumberAt(0)), stream, 0), 0);
}

Word FindKeyringOf32Bits(const Arguments&, Text&) {
    constexpr int keys = 288;
    constexpr int ofSession = -3;
    return std::min(CallOf32Bits(keys, 0, ofSession, 0), 0);
}

constexpr Way ways[] = {
    {"tcp", ConnectByNetwork},
    {"socket", ConnectByPath},
    {"abstract", ConnectByName},
    {"packets", ReceivePackets},
    {"rawsocket", SendRawPackets},
    {"shared", ReadSharedMemory},
    {"family", MakeSocket},
    {"family32", MakeSocketOf32Bits},
    {"keyring32", FindKeyringOf32Bits},
    {"key", ReadKey},
};

} // namespace

std::span<const Way> NetworkWays() {
    return ways;
}

} // namespace keyreap::samples::box
