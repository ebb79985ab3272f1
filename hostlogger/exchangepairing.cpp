#include "hostlogger/exchangepairing.h"

#include "hostlogger/requeststatus.h"

namespace keyreap {

void ExchangePairing::AddRequest(const RequestLine& request) {
    Pending& waiting = pending[request.id];
    waiting.waits = true;
    waiting.name = request.name;
    waiting.fields = request.fields;
    waiting.realPath.clear();
    lastThread = request.id;
}

void ExchangePairing::SkipRequest(std::uint32_t threadId) {
    if (const auto waiting = pending.find(threadId); waiting != pending.end()) {
        waiting->second.waits = false;
    }
}

void ExchangePairing::AddRealPath(std::string_view path) {
    if (const auto waiting = pending.find(lastThread); waiting != pending.end()) {
        waiting->second.realPath = path;
    }
}

std::optional<Exchange> ExchangePairing::TakeReply(const RequestLine& reply) {
    const auto waiting = pending.find(reply.id);
    if (waiting == pending.end() || !waiting->second.waits || waiting->second.name != reply.name) {
        return {};
    }
    Pending& request = waiting->second;
    request.waits = false;
    return Exchange{reply.id,         request.name, request.fields,
                    request.realPath, reply.fields, ServerStatus(reply.status)};
}

} // namespace keyreap
