#include "inputs/summing.h"

#include "support/failure.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velacreate {
namespace {
constexpr std::size_t MOST_PIECES = 64; // each may hold a file open
} // namespace

Summing::Summing() : m_thread([this] { work(); }) {}

Summing::~Summing() {
    join();
}

void Summing::add(const std::shared_ptr<Descriptor>& file, std::uint64_t size) {
    put({file, size, ""});
}

void Summing::end(const std::string& place) {
    put({nullptr, 0, place});
}

Sums Summing::sums() {
    join();
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
    return std::move(m_sums);
}

void Summing::put(Piece piece) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return m_pieces.size() < MOST_PIECES; });
    m_pieces.push_back(std::move(piece));
    m_changed.notify_all();
}

Summing::Piece Summing::take() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [&] { return !m_pieces.empty(); });
    auto piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    m_changed.notify_all();
    return piece;
}

/// The last piece is nothing.
void Summing::join() {
    if (m_thread.joinable()) {
        put({});
        m_thread.join();
    }
}

void Summing::work() {
    for (auto piece = take(); piece.file || !piece.place.empty(); piece = take()) {
        try {
            sumUp(piece);
        } catch (...) {
            m_failure = std::current_exception();
        }
    }
}

void Summing::sumUp(const Piece& piece) {
    if (!piece.file) {
        m_sums.emplace(piece.place, m_sum.digits());
        m_sum = Sha256();
        m_offset = 0;
        return;
    }
    std::vector<char> buffer(std::min<std::uint64_t>(piece.size, BUFFER_SIZE));
    for (std::uint64_t left = piece.size; left > 0;) {
        const auto size = std::min<std::uint64_t>(left, buffer.size());
        const auto count = readAt(piece.file->number(), buffer.data(), size, m_offset);
        check(count == static_cast<ssize_t>(size)).orFail("reading a file for its sum");
        m_sum.add(buffer.data(), size);
        m_offset += size;
        left -= size;
    }
}

} // namespace velacreate
