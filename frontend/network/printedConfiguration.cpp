#include "network/printedConfiguration.h"

#include "job/jobDirectory.h"
#include "job/supervisor.h"
#include "network/bootServer.h"
#include "network/httpServer.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <filesystem>
#include <iomanip>
#include <sstream>

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace velacreate {
namespace {
namespace fs = std::filesystem;

constexpr const char* FILLED = "filled"; // in the job directory, until it gets its place
constexpr const char* TFTP_FILES = "tftp";
constexpr const char* HTTP_FILES = "http";
constexpr mode_t DIRECTORY_MODE = 0755;
constexpr mode_t FILE_MODE = 0644;
/// The service that we start is nobody already.
constexpr const char* LIGHTTPD_USER = R"(server.username = "nobody"
server.groupname = "nogroup"
)";

/// Kea compares the two bytes of the option.
std::string keaTest(const ClientArchitecture& architecture) {
    std::ostringstream test;
    test << "option[93].hex == 0x" << std::hex << std::setw(4) << std::setfill('0') << architecture.number;
    return test.str();
}

Json keaClass(const BootService& service, const std::string& name, const std::string& test,
              const std::string& file) {
    return {{"name", name},
            {"test", test},
            {"next-server", addressText(service.address())},
            {"boot-file-name", file}};
}

Json keaClasses(const BootService& service) {
    auto classes = Json::array();
    for (const auto& offer : service.offers) {
        auto about = keaClass(service, tagOf(offer.architecture), keaTest(offer.architecture), offer.file);
        if (offer.isByHttp()) {
            about["option-data"] = Json::array(
                {{{"name", "vendor-class-identifier"}, {"data", "HTTPClient"}, {"always-send", true}}});
        }
        classes.push_back(about);
    }
    if (service.directory != nullptr) {
        classes.push_back(
            keaClass(service, "unnamed", "not option[93].exists", VelaCreation::NETBOOT_LOADER));
    }
    return classes;
}

/// The address of the server itself is not handed out.
Json keaPools(const AddressRange& range) {
    auto pools = Json::array();
    const auto add = [&](Address first, Address last) {
        if (first <= last) {
            pools.push_back({{"pool", addressText(first) + " - " + addressText(last)}});
        }
    };
    const auto own = range.network.own;
    if (own < range.first || own > range.last) {
        add(range.first, range.last);
    } else {
        add(range.first, own - 1);
        add(own + 1, range.last);
    }
    return pools;
}

std::string keaConfiguration(const BootService& service) {
    const auto& range = *service.range;
    const Network network{range.network.first(), range.network.mask};
    const Json dhcp = {{"interfaces-config", {{"interfaces", Json::array({service.port.name()})}}},
                       {"lease-database", {{"type", "memfile"}}},
                       {"valid-lifetime", LEASE_SECONDS},
                       {"match-client-id", false},
                       {"client-classes", keaClasses(service)},
                       {"subnet4", Json::array({{{"subnet", network.text()}, {"pools", keaPools(range)}}})}};
    return textOf({{"Dhcp4", dhcp}}, 2);
}

std::string dnsmasqConfiguration(const BootService& service, const std::string& files) {
    std::string text;
    for (const auto& setting : bootSettings(service, files)) {
        text += setting + "\n";
    }
    return text;
}

std::string nginxConfiguration(const BootService& service, const std::string& files) {
    return "worker_rlimit_nofile " + std::to_string(2 * MOST_CONNECTIONS + 100) +
           ";\nevents {\n    worker_connections " + std::to_string(MOST_CONNECTIONS) +
           ";\n}\n"
           "http {\n"
           "    sendfile on;\n"
           "    tcp_nopush on;\n"
           "    types { application/vnd.efi-iso iso; }\n"
           "    server {\n"
           "        listen " +
           addressText(service.address()) + ":" + std::to_string(HTTP_PORT) +
           ";\n"
           "        root " +
           files +
           ";\n"
           "    }\n"
           "}\n";
}

/// A directory that is being filled.
class Filled {
public:
    Filled(const Descriptor& parent, const std::string& path) : m_path(path) {
        check(mkdirat(parent.number(), path.c_str(), DIRECTORY_MODE) == 0).orFail(quote(path));
        m_directory = openBeneath(parent.number(), path, O_RDONLY | O_DIRECTORY);
        check(m_directory.isOpen()).orFail(quote(path));
    }

    const Descriptor& directory() const { return m_directory; }

    void addText(const std::string& name, const std::string& text) const {
        check(writeText(make(name), text)).orFail(quote(name));
    }

    void addCopy(const std::string& name, const Descriptor& file) const {
        const fs::path parents = fs::path(name).parent_path();
        if (!parents.empty()) {
            mkdirat(m_directory.number(), parents.c_str(), DIRECTORY_MODE);
        }
        copyContent(file, make(name), name, [](std::uint64_t /*bytes*/) {});
    }

private:
    Descriptor make(const std::string& name) const {
        Descriptor file(
            openat(m_directory.number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FILE_MODE));
        check(file.isOpen()).orFail(quote(name));
        return file;
    }

    std::string m_path;
    Descriptor m_directory;
};

using Texts = std::vector<std::pair<std::string, std::string>>;

/// @return names and contents
Texts configurations(const BootService& service, const std::string& path) {
    Texts texts = {{"dnsmasq.conf", dnsmasqConfiguration(service, path + "/" + TFTP_FILES)}};
    if (!service.isProxy()) { // Kea hands out addresses itself
        texts.emplace_back("kea-dhcp4.conf", keaConfiguration(service));
    }
    if (service.image != nullptr) {
        const auto files = path + "/" + HTTP_FILES;
        texts.emplace_back("lighttpd.conf", LIGHTTPD_USER + httpConfiguration(service, files));
        texts.emplace_back("nginx.conf", nginxConfiguration(service, files));
    }
    return texts;
}

void fill(const BootService& service, const Descriptor& parent, const std::string& path, Reporter& reporter) {
    reporter.stage("Copying the files");
    const Filled filled(parent, FILLED);
    if (service.directory != nullptr) {
        const Filled files(filled.directory(), TFTP_FILES);
        service.forEachTftpFile(
            [&](const std::string& name, const Descriptor& file) { files.addCopy(name, file); });
    }
    if (service.image != nullptr) {
        const Filled files(filled.directory(), HTTP_FILES);
        files.addCopy(IMAGE_NAME, service.image->file());
        service.image->requireUnchanged();
    }
    for (const auto& [name, text] : configurations(service, path)) {
        filled.addText(name, text);
    }
    check(syncfs(filled.directory().number()) == 0).orFail(quote(path));
}
} // namespace

void requirePrintable(const Output& place) {
    refuseIf(!isPlain(place.path(), "/._-+:@"),
             "the path " + quote(place.path()) + " has characters that the configurations cannot hold");
}

Outcome printConfiguration(const BootService& service, const Output& place, const HeldSignals& signals,
                           Console& console) {
    const JobDirectory jobDirectory(place.parent());
    const auto work = [&](Reporter& reporter) {
        fill(service, jobDirectory.directory(), place.path(), reporter);
        return 0;
    };
    auto outcome =
        supervise({{quote(place.path()), jobDirectory.directory().number(), work}}, 1, signals, console)
            .front();
    if (outcome.status == 0) {
        place.take(jobDirectory.directory(), FILLED);
    }
    return outcome;
}

} // namespace velacreate
