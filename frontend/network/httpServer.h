/// @file
/// The server that sends an image to machines.
#pragma once

#include "network/bootService.h"

#include <string>

namespace velacreate {

constexpr const char* HTTP_SERVER = "lighttpd"; ///< the program
constexpr std::uint16_t HTTP_PORT = 80;

/// In the server's log, a line for each answer: the machine's address and port, the status, the bytes sent
/// with and without the head, the range (or "-"), the length that was announced, and the method.
constexpr const char* ACCESS_FORMAT = "%a %{remote}p %s %O %b %{Content-Range}o %{Content-Length}o %m";

/// At a time, so that machines which only wait leave room for others.
constexpr unsigned MOST_CONNECTIONS = 2000;

/// @param files  where the image is
/// @return the server's configuration
std::string httpConfiguration(const BootService& service, const std::string& files);

/// In a job's process: becomes the server.
/// @param logFileSystem  holds the pipe for its log (see NamedPipe)
/// @throw Failure
[[noreturn]] void becomeHttpServer(const BootService& service, const Descriptor& logFileSystem);

/// Whether a line of the server's output tells that it is ready.
bool tellsOfStart(const std::string& line);

} // namespace velacreate
