#include "support/json.h"

#include <nlohmann/json.hpp>

namespace velacreate {

std::string textOf(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace velacreate
