#include "detail/system_error.h"

#include <algorithm>
#include <iterator>

namespace win32_detail {

namespace {

struct ErrorText {
    DWORD error;
    std::string_view text;
};

// In the order of the numbers: the table is searched by halves.
constexpr ErrorText error_texts[] = {
    {0, "The operation completed successfully."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
    {19, "The media is write protected."},
    {31, "A device attached to the system is not functioning."},
    {32, "The process cannot access the file because it is being used by another process."},
    {53, "The network path was not found."},
    {80, "The file exists."},
    {87, "The parameter is incorrect."},
    {112, "There is not enough space on the disk."},
    {122, "The data area passed to a system call is too small."},
    {123, "The filename, directory name, or volume label syntax is incorrect."},
    {126, "The specified module could not be found."},
    {145, "The directory is not empty."},
    {183, "Cannot create a file when that file already exists."},
    {206, "The filename or extension is too long."},
    {223, "The file size exceeds the limit allowed and cannot be saved."},
    {259, "No more data is available."},
    {267, "The directory name is invalid."},
    {299, "Only part of a ReadProcessMemory or WriteProcessMemory request was completed."},
    {317, "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {998, "Invalid access to memory location."},
    {1117, "The request could not be performed because of an I/O device error."},
    {1400, "Invalid window handle."},
    {1921, "The name of the file cannot be resolved by the system."},
    {10013, "An attempt was made to access a socket in a way forbidden by its access permissions."},
    {10014,
     "The system detected an invalid pointer address in attempting to use a pointer argument in a call."},
    {10022, "An invalid argument was supplied."},
    {10024, "Too many open sockets."},
    {10035, "A non-blocking socket operation could not be completed immediately."},
    {10036, "A blocking operation is currently executing."},
    {10037, "An operation was attempted on a non-blocking socket that already had an operation in progress."},
    {10038, "An operation was attempted on something that is not a socket."},
    {10039, "A required address was omitted from an operation on a socket."},
    {10040,
     "A message sent on a datagram socket was larger than the internal message buffer or some other network "
     "limit, or the buffer used to receive a datagram into was smaller than the datagram itself."},
    {10041,
     "A protocol was specified in the socket function call that does not support the semantics of the socket "
     "type requested."},
    {10042,
     "An unknown, invalid, or unsupported option or level was specified in a getsockopt or setsockopt call."},
    {10043,
     "The requested protocol has not been configured into the system, or no implementation for it exists."},
    {10045, "The attempted operation is not supported for the type of object referenced."},
    {10047, "An address incompatible with the requested protocol was used."},
    {10048, "Only one usage of each socket address (protocol/network address/port) is normally permitted."},
    {10049, "The requested address is not valid in its context."},
    {10050, "A socket operation encountered a dead network."},
    {10051, "A socket operation was attempted to an unreachable network."},
    {10052,
     "The connection has been broken due to keep-alive activity detecting a failure while the operation was "
     "in progress."},
    {10053, "An established connection was aborted by the software in your host machine."},
    {10054, "An existing connection was forcibly closed by the remote host."},
    {10055,
     "An operation on a socket could not be performed because the system lacked sufficient buffer space or "
     "because a queue was full."},
    {10056, "A connect request was made on an already connected socket."},
    {10057,
     "A request to send or receive data was disallowed because the socket is not connected and (when sending "
     "on a datagram socket using a sendto call) no address was supplied."},
    {10058,
     "A request to send or receive data was disallowed because the socket had already been shut down in that "
     "direction with a previous shutdown call."},
    {10060,
     "A connection attempt failed because the connected party did not properly respond after a period of "
     "time, or established connection failed because connected host has failed to respond."},
    {10061, "No connection could be made because the target machine actively refused it."},
    {10064, "A socket operation failed because the destination host was down."},
    {10065, "A socket operation was attempted to an unreachable host."},
    {10092, "The Windows Sockets version requested is not supported."},
    {10093, "Either the application has not called WSAStartup, or WSAStartup failed."},
};

}  // namespace

std::string_view error_text(DWORD error) {
    const auto* found =
        std::lower_bound(std::begin(error_texts), std::end(error_texts), error,
                         [](const ErrorText& entry, DWORD wanted) { return entry.error < wanted; });
    return found != std::end(error_texts) && found->error == error ? found->text : std::string_view();
}

}  // namespace win32_detail
