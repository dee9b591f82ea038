#include "network/imageReceipts.h"

#include "network/httpServer.h"

#include <array>

#include <unistd.h>

namespace velacreate {
namespace {
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds COUNTED_EVERY(1000);
constexpr std::size_t LONGEST_LINE = 4096;
} // namespace

ImageReceipts::ImageReceipts(Address server, std::uint64_t size)
    : m_acknowledgements(server, HTTP_PORT), m_delivery(size) {}

void ImageReceipts::look(bool isLast, const std::function<void(const ImageDelivery::News&)>& use) {
    const auto count = [this](const Connection& connection) { m_delivery.takeCount(connection); };
    m_acknowledgements.takeEnded(count);
    readLog();
    if (!isLast && Clock::now() < m_nextCount) {
        return;
    }
    m_nextCount = Clock::now() + COUNTED_EVERY;
    m_acknowledgements.takeOpen(count);
    for (const auto& news : m_delivery.takeNews()) {
        use(news);
    }
}

void ImageReceipts::readLog() {
    std::array<char, 65536> bytes{};
    const auto size = read(m_log.reader().number(), bytes.data(), bytes.size());
    if (size <= 0) {
        return;
    }
    m_rest.append(bytes.data(), static_cast<std::size_t>(size));
    std::size_t begin = 0;
    for (auto end = m_rest.find('\n'); end != std::string::npos; end = m_rest.find('\n', begin)) {
        m_delivery.takeAnswer(m_rest.substr(begin, end - begin));
        begin = end + 1;
    }
    m_rest.erase(0, begin);
    if (m_rest.size() > LONGEST_LINE) {
        m_rest.clear();
    }
}

} // namespace velacreate
