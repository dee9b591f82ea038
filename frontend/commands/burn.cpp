#include "commands/commands.h"

#include "medium/burner.h"

namespace velacreate {

int burn(const BurnChoices& choices, const CallerEnvironment& caller, Console& console) {
    return Burner(choices.device, caller).burn(choices, console);
}

} // namespace velacreate
