#pragma once

#include <string_view>

// The words of the request log: the filter keeps lines by them and adds some, and the tracker reads them.
namespace keyreap::requestword {

// Requests, as Wine's server names them.
inline constexpr std::string_view closeHandle = "close_handle";
inline constexpr std::string_view createKey = "create_key";
inline constexpr std::string_view deleteKey = "delete_key";
inline constexpr std::string_view deleteValue = "delete_key_value";
inline constexpr std::string_view duplicateHandle = "dup_handle";
inline constexpr std::string_view queryValue = "get_key_value";
inline constexpr std::string_view mappingInfo = "get_mapping_info";
inline constexpr std::string_view debugInfo = "get_process_debug_info";
inline constexpr std::string_view firstThread = "init_first_thread";
inline constexpr std::string_view newProcess = "new_process";
inline constexpr std::string_view newThread = "new_thread";
inline constexpr std::string_view openKey = "open_key";
inline constexpr std::string_view openProcess = "open_process";
inline constexpr std::string_view renameKey = "rename_key";
inline constexpr std::string_view setHandleInfo = "set_handle_info";
inline constexpr std::string_view setValue = "set_key_value";

// The real path of a key that a request opened or made follows these, in a line between request and reply.
inline constexpr std::string_view openedKey = "Open key ";
inline constexpr std::string_view createdKey = "Create key ";

// These follow the id of a thread or process that ends.
inline constexpr std::string_view threadEnd = "*killed*";
inline constexpr std::string_view processEnd = "*process killed*";

// The filter's own lines: the time of the lines below, with the number after it, and a place where lines are
// missing.
inline constexpr std::string_view clock = "time ";
inline constexpr std::string_view lost = "lost";
// The first and the last line of a summary (hostlogger/requestsummary.h). The mark follows the first.
inline constexpr std::string_view summary = "summary of ";
inline constexpr std::string_view summaryEnd = "end of summary";

} // namespace keyreap::requestword
