#include "sandbox.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::array PLACES = {"/mnt", "/boot", "/var/log", "/srv"};

bool isInUserNamespace = false;

/// A directory that the tests need, wherever it lies.
struct Kept {
    fs::path path;
    int descriptor;
};

void bind(const fs::path& source, const fs::path& place) {
    require(mount(source.c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0,
            "mount --rbind " + source.string() + " " + place.string());
}

void writeOnce(const char* path, const std::string& text) {
    require((std::ofstream(path) << text).flush().good(), std::string("write ") + path);
}

void leaveMounts() {
    if (unshare(CLONE_NEWNS) == 0) {
        return;
    }
    const auto user = std::to_string(geteuid());
    const auto group = std::to_string(getegid());
    require(errno == EPERM, "unshare");
    require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0,
            "without root's rights the tests need a user namespace, which is forbidden here: unshare");
    writeOnce("/proc/self/setgroups", "deny");
    writeOnce("/proc/self/uid_map", "0 " + user + " 1");
    writeOnce("/proc/self/gid_map", "0 " + group + " 1");
    isInUserNamespace = true;
}

/// The project, its build and this program, opened while nothing lies over them.
std::vector<Kept> keepNeeded() {
    std::vector<fs::path> paths;
    for (const fs::path& needed :
         {fs::path(PROJECT), fs::path(BUILD), fs::read_symlink("/proc/self/exe").parent_path()}) {
        if (std::find(PLACES.begin(), PLACES.end(), needed) == PLACES.end()) {
            paths.push_back(needed);
        } else {
            paths.insert(paths.end(), fs::directory_iterator(needed), {});
        }
    }
    std::vector<Kept> all;
    for (const auto& path : paths) {
        if (fs::is_directory(path)) {
            all.push_back({path, open(path.c_str(), O_PATH | O_CLOEXEC)});
            require(all.back().descriptor >= 0, "open " + path.string());
        }
    }
    return all;
}

bool isThere(const Kept& kept) {
    struct stat before {};
    struct stat now {};
    return fstat(kept.descriptor, &before) == 0 && stat(kept.path.c_str(), &now) == 0 &&
           before.st_dev == now.st_dev && before.st_ino == now.st_ino;
}

/// Read-only: what a test removes by mistake is to be nobody's work.
void showAgain(const Kept& kept) {
    if (!isThere(kept)) {
        fs::create_directories(kept.path);
        bind("/proc/self/fd/" + std::to_string(kept.descriptor), kept.path);
        mount_attr attributes{};
        attributes.attr_set = MOUNT_ATTR_RDONLY;
        require(mount_setattr(AT_FDCWD, kept.path.c_str(), AT_RECURSIVE, &attributes, sizeof attributes) == 0,
                "mount_setattr " + kept.path.string());
    }
    close(kept.descriptor);
}

/// Where only root gets through "/", as in a root directory made by mktemp, ordinary users need another one.
void enterRootForAll() {
    const fs::path root = "/srv";
    require(mount("none", root.c_str(), "tmpfs", 0, "mode=755") == 0, "mount " + root.string());
    for (const auto& entry : fs::directory_iterator("/")) {
        const auto place = root / entry.path().filename();
        if (entry.is_symlink()) {
            fs::copy_symlink(entry, place);
        } else if (entry.is_directory()) {
            fs::create_directory(place);
            if (entry.path() != root) {
                bind(entry.path(), place);
            }
        }
    }
    require(chroot(root.c_str()) == 0, "chroot " + root.string());
    require(chdir("/") == 0, "chdir /");
}

/// Out of the host's reach: the library unmounts /mnt and removes "boot" where it stands.
void leaveHost() {
    leaveMounts();
    require(mount("none", "/", "none", MS_PRIVATE | MS_REC, nullptr) == 0, "mount --make-rprivate /");
    const auto needed = keepNeeded();
    if ((fs::status("/").permissions() & fs::perms::others_exec) == fs::perms::none) {
        enterRootForAll();
    }
    for (const char* place : PLACES) {
        require(mount("none", place, "tmpfs", 0, nullptr) == 0, std::string("mount ") + place);
    }
    std::for_each(needed.begin(), needed.end(), showAgain);
    fs::create_directory("/var/log/Norvane_Support");
    setenv("PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
    unsetenv("TALO_SOFT_USBKEY");
}

/// What a job finds, to be copied for each.
void makeFixture() {
    shell(R"(
        mkdir -p /srv/fixture/mounted /srv/fixture/work/sub /srv/fixture/work/folder/inner && cd /srv/fixture
        printf '#!/bin/sh\necho imaging\ntouch job.iso\n' >xorriso && cp xorriso cdrecord && chmod +x xorriso cdrecord
        cd work && for f in a.txt 'b c.txt' zephyn sub/d.txt folder/inner/e.txt; do echo "$f" >"$f"; done
        mkdir -p boot/pxelinux.cfg boot/ppc/chrp && head -c 4096 /dev/zero >boot/efibootimg && touch init1.img
        for f in grub.cfg img2a img3a pxelinux.0 ksrootfs bsb1.lss bsb.msg unicode.pf2 splash.xpm.gz img1a.cfg \
            isolinux.bin pxelinux.cfg/default ppc/chrp/yaboot; do echo $f >boot/$f; done
        zip -qr tool.zip boot init1.img && rm -r boot init1.img)");
}

} // namespace

void require(bool done, const std::string& call) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), call);
    }
}

int runForReal(const std::string& command) {
    static const auto real = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    return real(command.c_str());
}

void shell(const std::string& command) {
    const int status = runForReal("set -e\n" + command);
    if (status != 0) {
        throw std::runtime_error("status " + std::to_string(status) + " of: " + command);
    }
}

void enterSandbox() {
    leaveHost();
    makeFixture();
}

bool isWithoutRoot() {
    return isInUserNamespace;
}
