// Where tests run: out of the host's reach, in mounts of their own.
#pragma once

#include <string>

/// Throws what failed, with the error of errno, unless it was done.
void require(bool done, const std::string& call);

/// Runs a command unrecorded; the status is as of system().
int runForReal(const std::string& command);

/// Runs commands unrecorded, all of which must succeed.
void shell(const std::string& command);

/// Goes where /mnt, /boot, /var/log and /srv are empty, and makes in /srv/fixture what a job finds. Who may
/// not mount does so as the root of a user namespace.
void enterSandbox();

/// Whether the rights of the host's root are missing: those of a user namespace reach neither its devices nor
/// other users.
bool isWithoutRoot();
