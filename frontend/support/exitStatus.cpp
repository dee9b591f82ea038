#include "support/exitStatus.h"

#include "support/failure.h"

#include <algorithm>
#include <iterator>

#include <bootableMedia.h>

namespace velacreate {
namespace {
using namespace VelaCreation;

constexpr ExitStatus TABLE[] = {
    {0, "done", ""},
    {EXIT_REFUSED, "refused; no medium and no output was touched", ""},
    {EXIT_DIFFERENT, "the medium, read back, differs from what was to be made",
     "Make it again, with another stick or disk if it recurs."},
    {EXIT_UNFINISHED, "the job could not be finished", ""},
    {EXIT_UNTRUSTED, "no list of sums that can be trusted", "Ask whoever made the medium."},
    {VELAERROR_NO_UPDATE_FILES, "no update file is left", "Name update files."},
    {VELAERROR_FILE_OR_DIR_NOT_FOUND, "a file that the job needs is missing", "Look it up with --verbose."},
    {VELAERROR_USB_ACCESS_ERROR, "the key cannot be read, sized or mounted",
     "Plug the key in again, or format it with --format always. If it is an image, make a new one."},
    {VELAERROR_UNZIP_ERROR, "the tool package cannot be unpacked",
     "Check the free space of the job directory."},
    {VELAERROR_FORMAT_ERROR, "the key cannot be formatted",
     "Check its write protection, and that nothing else uses it."},
    {VELAERROR_FILE_OR_DIR_CREATE_ERROR, "files cannot be copied", "Check the free space, and the medium."},
    {VELAERROR_CHANGE_MODE_ERROR, "files cannot be made executable", "Check the medium."},
    {VELAERROR_ISO_EXTENSION_ERROR, "the image's name does not end with .iso", "Name it so."},
    {VELAERROR_MAKE_ISO_ERROR, "the image cannot be made",
     "Check the free space, and that the package is complete."},
    {VELAERROR_ZIP_ERROR, "the archive of the update files cannot be made", "Check the free space."},
    {VELAERROR_BURN_ERROR, "the disc cannot be burned",
     "Check the drive, and that the disc is large enough."},
    {VELAERROR_ISO_NOT_FOUND, "the image to burn cannot be read", "Check its path."},
    {VELAERROR_CD_MEMORY_ERROR, "the image is larger than the disc", "Take a larger disc."},
    {VELAERROR_NO_DISK_OR_WRONG_DISK, "there is no disc in the drive, or one that cannot be written",
     "Put in a writable disc."},
    {EXIT_INTERRUPTED, "interrupted", ""},
};

constexpr ExitStatus UNKNOWN{EXIT_UNFINISHED, "the job's process was ended", ""};
} // namespace

int exitStatusAfter(const std::function<int()>& work, const std::function<void(const char* text)>& tell) {
    try {
        return work();
    } catch (const Refusal& refusal) {
        tell(refusal.what());
        return EXIT_REFUSED;
    } catch (const Untrusted& untrusted) {
        tell(untrusted.what());
        return EXIT_UNTRUSTED;
    } catch (const std::exception& failure) {
        tell(failure.what());
        return EXIT_UNFINISHED;
    }
}

const ExitStatus& exitStatus(int status) {
    const auto* const found = std::find_if(std::begin(TABLE), std::end(TABLE),
                                           [&](const auto& entry) { return entry.status == status; });
    return found != std::end(TABLE) ? *found : UNKNOWN;
}

std::string exitStatusTable() {
    std::string lines;
    for (const auto& entry : TABLE) {
        const auto number = std::to_string(entry.status);
        lines += "  " + std::string(3 - number.size(), ' ') + number + "  " + entry.meaning + "\n";
    }
    return lines;
}

} // namespace velacreate
