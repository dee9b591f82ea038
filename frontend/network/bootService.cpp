#include "network/bootService.h"

#include <mediaRules.h>

namespace velacreate {
namespace {
/// @return empty when there is nothing for it
std::string fileFor(const ClientArchitecture& architecture, const BootService& service) {
    switch (architecture.way) {
    case StartWay::bios:
        return service.directory != nullptr ? VelaCreation::NETBOOT_LOADER : "";
    case StartWay::uefi:
        return architecture.isArm ? service.loaders.forArm64 : service.loaders.forX64;
    case StartWay::uefiByHttp:
        return service.image != nullptr ? "http://" + addressText(service.address()) + "/" + IMAGE_NAME : "";
    case StartWay::unknown:
        break;
    }
    return "";
}
} // namespace

std::vector<std::string> BootService::media() const {
    std::vector<std::string> media;
    if (directory != nullptr) {
        media.push_back(directory->text());
    }
    if (image != nullptr) {
        media.push_back(image->text());
    }
    return media;
}

void BootService::forEachTftpFile(
    const std::function<void(const std::string& name, const Descriptor& file)>& use) const {
    if (directory != nullptr) {
        directory->forEachFile(use);
    }
    for (const auto& [name, content] : loaders.files) {
        use(name, content);
    }
}

BootService bootServiceOf(const NetbootDirectory* directory, const ServedImage* image,
                          const NetworkPort& port, const std::optional<AddressRange>& range,
                          const Descriptor& scratch) {
    BootService service{port, range, directory, image, {}, {}};
    if (directory != nullptr) {
        service.loaders = loadersFor(*directory, service.address(), service.isProxy(), scratch);
    }
    for (const auto& architecture : CLIENT_ARCHITECTURES) {
        if (auto file = fileFor(architecture, service); !file.empty()) {
            service.offers.push_back({architecture, std::move(file)});
        }
    }
    return service;
}

} // namespace velacreate
