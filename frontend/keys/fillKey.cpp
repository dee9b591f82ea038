#include "keys/fillKey.h"

#include "disks/fatVolume.h"
#include "disks/loopDevice.h"
#include "disks/sysfs.h"
#include "inputs/names.h"
#include "job/childProcess.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "keys/keysToFill.h"
#include "keys/newKey.h"
#include "medium/comparison.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <bootableusb.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace velacreate {

using VelaCreation::BootableUSB;

namespace {
const std::string KEY_LINK = "/mnt/key";

/// The library mounts an image only at byte 32256. It gets the file system of any image as a partition.
Descriptor attachImage(const KeyTarget& target) {
    return target.disk ? Descriptor() : attachLoopDevice(target.open, target.fileSystem);
}

/// The library appends the number of the partition to the disk's name. Where the kernel's name has a "p"
/// before the number, and for an image, two links provide that name.
std::string deviceForLibrary(const KeyJob& job, const Descriptor& image) {
    const auto& disk = job.target.disk;
    auto node = disk ? disk->node() : "/dev/" + deviceDirectory(image.status().st_rdev).filename().string();
    const auto partition = disk ? disk->keyPartitionNode() : node;
    if (partition == VelaCreation::keyPartitionOf(node)) {
        return node;
    }
    check(symlink(node.c_str(), KEY_LINK.c_str()) == 0 &&
          symlink(partition.c_str(), VelaCreation::keyPartitionOf(KEY_LINK).c_str()) == 0)
        .orFail("no links to the key");
    return KEY_LINK;
}

/// Files must go to the key's own FAT file system. Another one could have links that lead elsewhere.
bool isKeyMounted(const KeyJob& job, const Descriptor& image) {
    const Descriptor place(open(BootableUSB::MOUNT_POINT.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto& disk = job.target.disk;
    return place.isOpen() &&
           isOnFat(place, disk ? partitionNumber(*disk, KEY_PARTITION) : image.status().st_rdev);
}

/// The key as bytes.
struct KeyBytes {
    explicit KeyBytes(const KeyJob& job)
        : uncached(job.target.disk ? openUncached(job.target.open) : Descriptor()),
          medium{job.target.disk ? uncached : job.target.open, sizeOf(job.target.open)} {
        medium.isKeyImage = !job.target.disk;
        medium.others = job.all.choices.format == FORMAT_NEVER ? OtherFiles::any : OtherFiles::none;
    }

    Descriptor uncached; ///< closed for an image
    ReadMedium medium;
};

/// A file system that keeps its files must be sound.
/// @return 0, or EXIT_REFUSED
int requireSound(const KeyJob& job, const Descriptor& jobDirectory, Reporter& reporter) {
    const KeyBytes key(job);
    const auto refuse = [&](const std::string& fault) {
        reporter.reason("the file system of the key cannot be filled as it is: " + fault +
                        (job.target.disk ? "; --format always makes a new one" : "; make a new one"));
        return EXIT_REFUSED;
    };
    return examineForm(jobDirectory, job.inputs(), key.medium, refuse, reporter);
}

/// A machine would take files of an earlier job for its own.
int decideFormat(const KeyJob& job, const Descriptor& jobDirectory, BootableUSB& builder, bool& format,
                 Reporter& reporter) {
    const auto partition = job.target.disk->openKeyPartition();
    check(partition.isOpen()).orFail(job.target.disk->keyPartitionNode());
    if (!holdsFat(partition, 0)) {
        reporter.message(VelaCreation::LEVEL_PROGRESS,
                         "The key holds no FAT file system, hence it is formatted");
        format = true;
        return 0;
    }
    const int result = builder.isBootable(format);
    if (result != 0 || format) {
        return result;
    }
    const KeyBytes key(job);
    const auto tell = [&](const std::string& fault) {
        reporter.message(VelaCreation::LEVEL_PROGRESS, "The key is formatted, because " + fault);
        return EXIT_DIFFERENT;
    };
    const int form = examineForm(jobDirectory, job.inputs(), key.medium, tell, reporter);
    format = form == EXIT_DIFFERENT;
    return format ? 0 : form;
}

int readBack(const KeyJob& job, const Descriptor& jobDirectory, Reporter& reporter) {
    const KeyBytes key(job);
    return compareConfined(jobDirectory, job.inputs(), job.inputs().contents, key.medium, JobKind::making,
                           reporter);
}

/// The status file tells of one job. Each of several jobs gets a private one.
void hideStatusFile(BootableUSB& builder) {
    const auto directory = std::filesystem::path(builder.getErrorMessageFilePath()).parent_path();
    if (exists(directory)) {
        check(mount("tmpfs", directory.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=755,size=1m") == 0)
            .orFail(quote(directory));
    }
}

int runWorkflow(const KeyJob& job, const Descriptor& jobDirectory, Reporter& reporter) {
    const auto image = attachImage(job.target);
    LibraryLogger logger(reporter, [&] {
        if (isKeyMounted(job, image)) {
            return 0;
        }
        reporter.reason("what was mounted is not this key's FAT file system");
        return EXIT_UNFINISHED;
    });
    KeyBuilder builder(logger);
    if (!job.all.isOnly) {
        hideStatusFile(builder);
    }
    bool isInitialized = false;
    bool format = job.all.choices.erase || job.all.choices.format == FORMAT_ALWAYS;
    int result = builder.init("..", deviceForLibrary(job, image), job.inputs().namesForLibrary(),
                              PACKAGE_NAME, isInitialized);
    if (result == 0 && job.all.choices.erase) {
        result = makeNewKey(*job.target.disk, job.target.open, cloneImageFor(describe(*job.target.disk).size),
                            builder, logger, reporter);
    } else if (result == 0 && job.all.choices.format == FORMAT_NEVER) {
        result = requireSound(job, jobDirectory, reporter);
    } else if (result == 0 && !format) {
        result = decideFormat(job, jobDirectory, builder, format, reporter);
    }
    if (result == 0) {
        reporter.changing();
        result = builder.CreateUSBKey(format);
    }
    return reportToolError(result, reporter);
}

int fillAndReadBack(const KeyJob& job, const Descriptor& jobDirectory, Reporter& reporter) {
    if (const int result = runWorkflow(job, jobDirectory, reporter); result != 0) {
        return result;
    }
    reporter.stage(STAGE_WRITING_OUT);
    check(fsync(job.target.open.number()) == 0).orFail("the key could not take all that was written");
    return job.all.call.choices.verify ? readBack(job, jobDirectory, reporter) : 0;
}
} // namespace

int fillKey(const KeyJob& job, Reporter& reporter) {
    if (!hasOwnMounts()) {
        throw Refusal("a key needs mounts of its own, and this machine does not grant them");
    }
    linkContents(job.staged, job.jobDirectory, LIBRARY_FOLDER);
    const auto jobDirectory = enterLibraryFolder(job.all.call.choices.show.pauses, reporter);
    int result = 0;
    try {
        result = fillAndReadBack(job, jobDirectory, reporter);
    } catch (const Failure& failure) {
        reporter.reason(failure.what());
        result = EXIT_UNFINISHED;
    }
    if (result != 0 && job.target.disk && isPulledOut(*job.target.disk)) {
        reporter.reason(PULLED_OUT);
    }
    tidyUp(job.all.call.choices, jobDirectory); // also after a failure: other jobs may need the space
    return result;
}

} // namespace velacreate
