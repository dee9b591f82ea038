#include "inputs/addedFiles.h"

#include "support/descriptor.h"
#include "support/failure.h"

#include <utility>

namespace velacreate {
std::string AddedFile::name() const {
    return kind + (" " + quote(path));
}

std::vector<AddedFile> addedFiles(const ShowChoices& choices) {
    std::vector<AddedFile> files;
    for (auto file :
         {AddedFile{LOG_FILE, choices.log}, {REPORT, choices.report}, {EVENTS_FILE, choices.events}}) {
        if (!file.path.empty()) {
            files.push_back(std::move(file));
        }
    }
    return files;
}

void requireDifferent(const std::vector<AddedFile>& files) {
    for (const auto& file : files) {
        for (const auto* earlier = files.data(); earlier != &file; ++earlier) {
            refuseIf(isSameFile(earlier->path, file.path), file.name() + " is " + earlier->kind);
        }
    }
}

} // namespace velacreate
