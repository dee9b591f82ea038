#include "keys/consent.h"

#include "disks/inventory.h"
#include "display/question.h"
#include "support/texts.h"

#include <string>

namespace velacreate {
namespace {
std::string tableOf(const std::vector<Key>& keys) {
    auto table = tableOfKeys({"Model", "Size", "Holds", "Mounted on", "Not to be made"});
    for (const auto& key : keys) {
        table.add(cellsOf(key, {key.about.name(), sizeText(key.about.size), contentOf(key.disk),
                                placesText(mountedPlaces(key.disk)), key.ineligibility}));
    }
    return table.text();
}
} // namespace

int askForConsent(const std::vector<Key>& keys, const std::string& loss, bool isAgreed,
                  const HeldSignals& signals, Console& console) {
    const bool isOne = keys.size() == 1;
    console.sayLines(tableOf(keys));
    console.say(loss);
    if (isAgreed) {
        return 0;
    }
    return askForYes(signals, "a key be changed",
                     isOne ? "the key was left as it is" : "the keys were left as they are", console);
}

std::string lossByErasing(const std::vector<Key>& keys) {
    return keys.size() == 1 ? "Everything on it will be lost." : "Everything on them will be lost.";
}

} // namespace velacreate
