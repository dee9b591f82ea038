/// @file
/// What the board shows. docs/board.md describes its form.
#pragma once

#include "support/json.h"

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace velacreate {

/// It is made from events: the same ones that the station writes for other programs.
class BoardState {
public:
    explicit BoardState(const std::vector<std::string>& slots = {});

    /// The whole state, also as an event.
    const Json& whole() const { return m_whole; }
    Json wholeAsEvent() const;

    void setEnding() { m_whole["ending"] = true; }

    /// @return what has changed, in the form of the whole state; null when nothing has
    Json take(const Json& event);

private:
    Json* tileOf(const Json& event);
    Json takeSlot(const Json& event, Json& tile);

    Json m_whole;
};

/// @return a change in which nothing has changed
Json noNews();

} // namespace velacreate
