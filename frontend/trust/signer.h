/// @file
/// Signs the list of a medium by minisign, with the maker's secret key.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "support/descriptor.h"

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace velacreate {

constexpr const char* SIGNING_PROGRAM = "minisign";

/// @param comment  the trusted comment
/// @return how long a signature with this comment is, in bytes
std::size_t sizeOfSignature(const std::string& comment);

/// @return the file, open
/// @throw Refusal when it is no secret key of minisign
Descriptor openSecretKey(const std::string& path);

/// A process of its own. It alone reads the pass phrase, and has minisign open the secret key at once. It
/// then waits for a list, signs it, and ends. All others reach it by a socket, so none of them can read a
/// secret.
class Signer {
public:
    Signer() = default;
    ~Signer();
    Signer(const Signer&) = delete;
    Signer& operator=(const Signer&) = delete;

    /// Starts the process. Asks for the pass phrase of the key, if it has one.
    /// @param path  of the secret key
    /// @return 0, or EXIT_INTERRUPTED
    /// @throw Refusal when it is no such key, the pass phrase is wrong, or nobody can be asked for it
    int open(const std::string& path, const std::string& comment, const HeldSignals& signals,
             Console& console);

    /// Whether it was opened.
    bool isOpen() const { return m_socket.isOpen(); }

    /// In any process, but only once.
    /// @return the signature
    /// @throw Failure
    std::string sign(const std::string& list) const;

private:
    int awaitKey(const HeldSignals& signals);
    void end();

    pid_t m_process = 0;
    Descriptor m_socket;
};

} // namespace velacreate
