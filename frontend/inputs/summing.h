/// @file
/// Sums up files while they are written.
#pragma once

#include "inputs/checksum.h"
#include "support/descriptor.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace velacreate {

/// Reads what was written in a thread of its own, from the cache. The files come one after the other.
class Summing {
public:
    Summing();
    ~Summing();
    Summing(const Summing&) = delete;
    Summing& operator=(const Summing&) = delete;

    /// More bytes of a file were written.
    void add(const std::shared_ptr<Descriptor>& file, std::uint64_t size);

    /// All bytes of a file were written.
    void end(const std::string& place);

    /// To be called once. Waits until everything is summed up.
    /// @return the sums of all files, by their places
    /// @throw Failure when a file cannot be read
    Sums sums();

private:
    /// Bytes of a file, or the end of one.
    struct Piece {
        std::shared_ptr<Descriptor> file;
        std::uint64_t size = 0;
        std::string place;
    };

    void put(Piece piece);
    Piece take();
    void join();
    void work();
    void sumUp(const Piece& piece);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Piece> m_pieces;
    Sha256 m_sum;
    std::uint64_t m_offset = 0; ///< in the current file
    Sums m_sums;
    std::exception_ptr m_failure;
    std::thread m_thread; ///< the last member, since it uses the others
};

} // namespace velacreate
