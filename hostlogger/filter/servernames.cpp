#include "hostlogger/filter/servernames.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace keyreap {
namespace {

// The requests of the server's protocol in Wine 8.0 and in Wine 10.0, in alphabetical order.
constexpr std::string_view requestWords =
    "accept_hardware_message access_check add_atom add_clipboard_listener add_completion add_fd_completion "
    "add_mapping_committed_range adjust_token_privileges alloc_file_handle alloc_user_handle "
    "allocate_locally_unique_id allocate_reserve_object assign_job attach_thread_input cancel_async "
    "cancel_sync cancel_timer check_token_privileges close_clipboard close_desktop close_handle "
    "close_winstation compare_objects continue_debug_event create_class create_completion create_debug_obj "
    "create_desktop create_device create_device_manager create_directory create_event create_file "
    "create_job create_key create_keyed_event create_linked_token create_mailslot create_mapping "
    "create_mutex create_named_pipe create_semaphore create_symlink create_timer create_token "
    "create_window create_winstation debug_process delete_atom delete_device delete_key delete_key_value "
    "destroy_class destroy_window dup_handle duplicate_token empty_clipboard enum_clipboard_formats "
    "enum_desktop enum_key enum_key_value enum_winstation event_op filter_token find_atom "
    "finish_hook_chain flush flush_key free_user_handle get_apc_result get_async_result "
    "get_atom_information get_class_windows get_clipboard_data get_clipboard_formats get_clipboard_info "
    "get_cursor_history get_desktop_window get_directory_cache_entry get_directory_entries "
    "get_directory_entry get_exception_status get_file_info get_handle_fd get_handle_unix_name "
    "get_hook_info get_image_map_address get_image_view_info get_job_info get_kernel_object_handle "
    "get_kernel_object_ptr get_key_state get_key_value get_last_input_time get_mapping_committed_range "
    "get_mapping_filename get_mapping_info get_message get_message_reply get_msg_queue "
    "get_msg_queue_handle get_new_process_info get_next_console_request get_next_device_request "
    "get_next_thread get_object_info get_object_name get_object_type get_object_types "
    "get_process_debug_info get_process_idle_event get_process_image_name get_process_info "
    "get_process_vm_counters get_process_winstation get_queue_status get_rawinput_buffer "
    "get_security_object get_selector_entry get_serial_info get_startup_info get_surface_region "
    "get_system_handles get_tcp_connections get_thread_completion get_thread_context get_thread_desktop "
    "get_thread_info get_thread_input get_thread_times get_timer_info get_token_default_dacl "
    "get_token_groups get_token_info get_token_privileges get_token_sid get_udp_endpoints "
    "get_update_region get_visible_region get_volume_info get_window_children "
    "get_window_children_from_point get_window_info get_window_layered_info get_window_list "
    "get_window_parents get_window_properties get_window_property get_window_rectangles get_window_region "
    "get_window_text get_window_tree get_windows_offset grab_kernel_object grant_process_admin_token "
    "init_first_thread init_process_done init_thread ioctl is_same_mapping is_window_hung kill_win_timer "
    "list_processes load_registry lock_file make_process_system make_temporary map_builtin_view "
    "map_image_view map_view new_process new_thread open_clipboard open_completion open_desktop "
    "open_directory open_event open_file_object open_input_desktop open_job open_key open_keyed_event "
    "open_mapping open_mutex open_process open_semaphore open_symlink open_thread open_timer open_token "
    "open_winstation post_quit_message process_in_job query_completion query_event query_mutex "
    "query_semaphore query_symlink queue_apc queue_exception_event read read_change read_directory_changes "
    "read_process_memory recv_socket redraw_window register_async register_hotkey release_clipboard "
    "release_kernel_object release_mutex release_semaphore remove_clipboard_listener remove_completion "
    "remove_hook remove_window_property rename_key reply_message resume_process resume_thread "
    "save_registry select send_hardware_message send_message send_socket set_active_window "
    "set_async_direct_result set_capture_window set_caret_info set_caret_window set_class_info "
    "set_clipboard_data set_clipboard_viewer set_completion_info set_cursor set_debug_obj_info "
    "set_desktop_shell_windows set_fd_completion_mode set_fd_disp_info set_fd_eof_info set_fd_name_info "
    "set_focus_window set_foreground_window set_global_windows set_handle_info set_hook set_input_desktop "
    "set_irp_result set_job_completion_port set_job_limits set_kernel_object_ptr set_key_state "
    "set_key_value set_keyboard_repeat set_mailslot_info set_named_pipe_info set_object_permanence "
    "set_parent set_process_info set_process_winstation set_queue_fd set_queue_mask "
    "set_registry_notification set_security_object set_serial_info set_thread_context set_thread_desktop "
    "set_thread_info set_timer set_token_default_dacl set_user_object_info set_win_timer set_window_info "
    "set_window_layered_info set_window_owner set_window_pos set_window_property set_window_region "
    "set_window_text set_winstation_monitors socket_get_events socket_get_icmp_id socket_send_icmp_id "
    "start_hook_chain suspend_process suspend_thread terminate_job terminate_process terminate_thread "
    "unload_registry unlock_file unmap_view unregister_hotkey update_rawinput_devices update_window_zorder "
    "wait_debug_event write write_process_memory";

// The statuses that the two servers have names for, in alphabetical order.
constexpr std::string_view statusWords =
    "ABANDONED_WAIT_0 ACCESS_DENIED ACCESS_VIOLATION ADDRESS_ALREADY_ASSOCIATED ALERTED BAD_DEVICE_TYPE "
    "BAD_IMPERSONATION_LEVEL BUFFER_OVERFLOW BUFFER_TOO_SMALL CANCELLED CANNOT_DELETE CANT_OPEN_ANONYMOUS "
    "CHILD_MUST_BE_VOLATILE CONNECTION_ABORTED CONNECTION_ACTIVE CONNECTION_REFUSED CONNECTION_RESET "
    "DEBUGGER_INACTIVE DEVICE_BUSY DEVICE_NOT_READY DIRECTORY_NOT_EMPTY DISK_FULL DLL_NOT_FOUND "
    "ERROR_CLASS_ALREADY_EXISTS ERROR_CLASS_DOES_NOT_EXIST ERROR_CLASS_HAS_WINDOWS "
    "ERROR_CLIPBOARD_NOT_OPEN ERROR_HOTKEY_ALREADY_REGISTERED ERROR_HOTKEY_NOT_REGISTERED "
    "ERROR_INVALID_CURSOR_HANDLE ERROR_INVALID_INDEX ERROR_INVALID_WINDOW_HANDLE "
    "ERROR_NO_MORE_USER_HANDLES ERROR_WINDOW_OF_OTHER_THREAD FILE_DELETED FILE_INVALID FILE_IS_A_DIRECTORY "
    "FILE_LOCK_CONFLICT GENERIC_NOT_MAPPED HANDLES_CLOSED HANDLE_NOT_CLOSABLE HOST_UNREACHABLE "
    "ILLEGAL_FUNCTION IMAGE_MACHINE_TYPE_MISMATCH IMAGE_NOT_AT_BASE INFO_LENGTH_MISMATCH "
    "INSTANCE_NOT_AVAILABLE INSUFFICIENT_RESOURCES INVALID_ACL INVALID_ADDRESS INVALID_ADDRESS_COMPONENT "
    "INVALID_CID INVALID_CONNECTION INVALID_DEVICE_REQUEST INVALID_FILE_FOR_SECTION INVALID_HANDLE "
    "INVALID_IMAGE_FORMAT INVALID_IMAGE_NE_FORMAT INVALID_IMAGE_NOT_MZ INVALID_IMAGE_PROTECT "
    "INVALID_IMAGE_WIN_16 INVALID_IMAGE_WIN_64 INVALID_LOCK_SEQUENCE INVALID_OWNER INVALID_PARAMETER "
    "INVALID_PIPE_STATE INVALID_READ_MODE INVALID_SECURITY_DESCR IO_TIMEOUT KERNEL_APC KEY_DELETED "
    "MAPPED_FILE_SIZE_ZERO MORE_ENTRIES MUTANT_NOT_OWNED NAME_TOO_LONG NETWORK_BUSY NETWORK_UNREACHABLE "
    "NOT_ALL_ASSIGNED NOT_A_DIRECTORY NOT_FOUND NOT_IMPLEMENTED NOT_MAPPED_VIEW NOT_REGISTRY_FILE "
    "NOT_SAME_DEVICE NOT_SAME_OBJECT NOT_SUPPORTED NO_DATA_DETECTED NO_IMPERSONATION_TOKEN NO_MEMORY "
    "NO_MORE_ENTRIES NO_SUCH_DEVICE NO_SUCH_FILE NO_TOKEN OBJECT_NAME_COLLISION OBJECT_NAME_EXISTS "
    "OBJECT_NAME_INVALID OBJECT_NAME_NOT_FOUND OBJECT_PATH_INVALID OBJECT_PATH_NOT_FOUND "
    "OBJECT_PATH_SYNTAX_BAD OBJECT_TYPE_MISMATCH PENDING PIPE_BROKEN PIPE_BUSY PIPE_CLOSING PIPE_CONNECTED "
    "PIPE_DISCONNECTED PIPE_EMPTY PIPE_LISTENING PIPE_NOT_AVAILABLE PORT_NOT_SET PREDEFINED_HANDLE "
    "PRIVILEGE_NOT_HELD PROCESS_IN_JOB PROCESS_IS_TERMINATING PROCESS_NOT_IN_JOB "
    "REPARSE_POINT_NOT_RESOLVED SECTION_TOO_BIG SEMAPHORE_LIMIT_EXCEEDED SHARING_VIOLATION "
    "SHUTDOWN_IN_PROGRESS SUSPEND_COUNT_EXCEEDED THREAD_IS_TERMINATING TIMEOUT TOO_MANY_OPENED_FILES "
    "UNSUCCESSFUL USER_APC USER_MAPPED_FILE VOLUME_DISMOUNTED WAS_LOCKED WSAEACCES WSAEADDRINUSE "
    "WSAEADDRNOTAVAIL WSAEAFNOSUPPORT WSAEALREADY WSAEBADF WSAECONNABORTED WSAECONNREFUSED WSAECONNRESET "
    "WSAEDESTADDRREQ WSAEDQUOT WSAEFAULT WSAEHOSTDOWN WSAEHOSTUNREACH WSAEINTR WSAEINVAL WSAEISCONN "
    "WSAELOOP WSAEMFILE WSAEMSGSIZE WSAENAMETOOLONG WSAENETDOWN WSAENETRESET WSAENETUNREACH WSAENOBUFS "
    "WSAENOPROTOOPT WSAENOTCONN WSAENOTEMPTY WSAENOTSOCK WSAEOPNOTSUPP WSAEPFNOSUPPORT WSAEPROCLIM "
    "WSAEPROTONOSUPPORT WSAEPROTOTYPE WSAEREMOTE WSAESHUTDOWN WSAESOCKTNOSUPPORT WSAESTALE WSAETIMEDOUT "
    "WSAETOOMANYREFS WSAEUSERS WSAEWOULDBLOCK";

constexpr std::size_t CountOfWords(std::string_view words) {
    return static_cast<std::size_t>(std::ranges::count(words, ' ')) + 1;
}

template <std::size_t count>
constexpr std::array<std::string_view, count> WordsOf(std::string_view words) {
    std::array<std::string_view, count> list;
    for (std::string_view& word : list) {
        word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(word.size() + 1, words.size()));
    }
    return list;
}

constexpr auto requests = WordsOf<CountOfWords(requestWords)>(requestWords);
constexpr auto statuses = WordsOf<CountOfWords(statusWords)>(statusWords);
static_assert(std::ranges::is_sorted(requests) && std::ranges::is_sorted(statuses));

// The requests by a hash, since nearly every line of the log names one.
class RequestTable {
public:
    consteval RequestTable() {
        for (const std::string_view name : requests) {
            std::size_t at = SlotOf(name);
            while (!slots[at].empty()) {
                at = (at + 1) % slotCount;
            }
            slots[at] = name;
        }
    }

    bool Has(std::string_view name) const {
        std::size_t at = SlotOf(name);
        while (!slots[at].empty() && slots[at] != name) {
            at = (at + 1) % slotCount;
        }
        return !slots[at].empty();
    }

private:
    // Far more than requests, so that most searches end at the first one.
    static constexpr std::size_t slotCount = 2048;

    static constexpr std::size_t SlotOf(std::string_view name) {
        std::uint32_t hash = 0;
        for (const char letter : name) {
            hash = hash * 31 + static_cast<unsigned char>(letter);
        }
        return (hash ^ (hash >> 11)) % slotCount;
    }

    std::array<std::string_view, slotCount> slots{};
};

constexpr RequestTable requestTable;

} // namespace

bool IsServerRequest(std::string_view name) {
    return !name.empty() && requestTable.Has(name);
}

bool IsServerStatus(std::string_view name) {
    return std::ranges::binary_search(statuses, name);
}

} // namespace keyreap
