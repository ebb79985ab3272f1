#pragma once

#include "hostlogger/requestline.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace keyreap {

// A request with its reply. The views are valid until the next line.
struct Exchange {
    std::uint32_t threadId = 0;
    std::string_view name;
    std::string_view requestFields;
    std::string_view realPath; // of the key that was opened or made, if the log reports it; in the server's
                               // escapes
    std::string_view replyFields;
    std::uint32_t status = 0; // NT status
};

// A request that waits for its reply. The views are valid until the next line.
struct WaitingRequest {
    std::uint32_t threadId = 0;
    std::string_view name;
    std::string_view fields;
    std::string_view realPath; // as in Exchange
};

// Pairs the requests of the server's log with their replies. A thread waits for the reply to a request before
// it makes the next one, but lines of other threads may be between the two. The real path of a key follows
// its request at once and names no thread.
class ExchangePairing {
public:
    // The thread waits for the reply to this request, and for no earlier one.
    void AddRequest(const RequestLine& request);
    // The thread waits for no reply: nobody wants this request, and it isn't stored.
    void SkipRequest(std::uint32_t threadId);
    // A path that belongs to the request added last.
    void AddRealPath(std::string_view path);
    // The request with this reply; nothing if the thread doesn't wait for a reply of this name.
    std::optional<Exchange> TakeReply(const RequestLine& reply);
    void EndThread(std::uint32_t threadId) { pending.erase(threadId); }

    // Calls take(WaitingRequest) for each request without its reply.
    template <typename Take>
    void ForEachWaiting(Take take) const {
        for (const auto& [threadId, request] : pending) {
            if (request.waits) {
                take(WaitingRequest{threadId, request.name, request.fields, request.realPath});
            }
        }
    }

private:
    // The last request of a thread. It stays after its reply, so that the next one reuses its strings.
    struct Pending {
        bool waits = false; // for the reply
        std::string name;
        std::string fields;
        std::string realPath;
    };

    std::unordered_map<std::uint32_t, Pending> pending; // by thread
    std::uint32_t lastThread = 0;                       // the one whose request was added last
};

} // namespace keyreap
