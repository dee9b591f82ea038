#include "network/httpServer.h"

#include "network/confinedProgram.h"
#include "network/namedPipe.h"
#include "support/failure.h"
#include "support/programs.h"

#include <linux/capability.h>
#include <sys/mman.h>

namespace velacreate {
namespace {
constexpr const char* DOCUMENTS = "/mnt/image";
constexpr const char* LOG_PLACE = "/log";
constexpr const char* CONFIGURATION = "/lighttpd.conf";
constexpr const char* MODULES = "/usr/lib/lighttpd";
constexpr const char* LOG_MODULE = "mod_accesslog";
constexpr unsigned DESCRIPTORS = 2 * MOST_CONNECTIONS + 100; // each has an open file, too

/// A line of the configuration.
std::string setting(const std::string& name, const std::string& value) {
    return name + " = " + value + "\n";
}

std::string inQuotes(const std::string& text) {
    return "\"" + text + "\"";
}

std::string logSettings(const std::string& path) {
    return "server.modules += (\"" + std::string(LOG_MODULE) + "\")\n" +
           setting("accesslog.filename", inQuotes(path)) +
           setting("accesslog.format", inQuotes(ACCESS_FORMAT));
}
} // namespace

// Idle connections end early, so that they leave room for others. Answers of HTTP/2 are mixed in one
// connection, and could not be told apart.
std::string httpConfiguration(const BootService& service, const std::string& files) {
    return setting("server.document-root", inQuotes(files)) +
           setting("server.bind", inQuotes(addressText(service.address()))) +
           setting("server.port", std::to_string(HTTP_PORT)) +
           setting("server.compat-module-load", inQuotes("disable")) +
           setting("server.modules", "(\"mod_staticfile\")") +
           setting("server.max-connections", std::to_string(MOST_CONNECTIONS)) +
           setting("server.max-fds", std::to_string(DESCRIPTORS)) + setting("server.max-read-idle", "5") +
           setting("server.max-keep-alive-idle", "5") + setting("server.max-write-idle", "60") +
           setting("server.max-request-size", "1") +
           setting("server.feature-flags", R"(("server.h2proto" => "disable"))") +
           setting("mimetype.assign", R"((".iso" => "application/vnd.efi-iso"))");
}

void becomeHttpServer(const BootService& service, const Descriptor& logFileSystem) {
    const auto program = pathOf(HTTP_SERVER);
    const ServerRoot root;
    root.addProgram(program);
    root.addProgram(std::string(MODULES) + "/" + LOG_MODULE + ".so");
    root.addMount(logFileSystem, LOG_PLACE);
    root.addText(httpConfiguration(service, DOCUMENTS) + setting("server.upload-dirs", "(\"/\")") +
                     logSettings(std::string(LOG_PLACE) + "/" + NamedPipe::NAME),
                 CONFIGURATION);
    root.addCopy(service.image->file(), std::string(DOCUMENTS) + "/" + IMAGE_NAME);
    service.image->requireUnchanged();
    becomeConfined({program, "-D", "-f", CONFIGURATION}, root, {CAP_NET_BIND_SERVICE}, DESCRIPTORS);
}

bool tellsOfStart(const std::string& line) {
    return line.find(" server started (") != std::string::npos;
}

} // namespace velacreate
