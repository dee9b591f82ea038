/// @file
/// Texts for a reader that nobody waits for.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace velacreate {

/// The first text is the whole state. While a text is on its way, others are left out; the whole state then
/// makes up for them.
class Outbox {
public:
    void add(const std::string& text) {
        if (!m_needsWhole && m_rest.empty()) {
            m_rest = text;
        } else {
            m_needsWhole = true;
        }
    }

    /// @return what can be sent now
    const std::string& rest(const std::function<std::string()>& wholeState) {
        if (m_rest.empty() && std::exchange(m_needsWhole, false)) {
            m_rest = wholeState();
        }
        return m_rest;
    }

    void sent(std::size_t bytes) { m_rest.erase(0, bytes); }

private:
    std::string m_rest; ///< of the text that is on its way
    bool m_needsWhole = true;
};

} // namespace velacreate
