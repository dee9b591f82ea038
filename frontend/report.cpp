#include "report.h"

#include "exitStatus.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace velacreate {

int Report::end(int status, const std::string& whatWasMade) const {
    using std::chrono::seconds;
    const auto taken =
        std::chrono::duration_cast<seconds>(std::chrono::steady_clock::now() - m_start).count();
    if (status == 0) {
        std::cout << whatWasMade << ", in " << taken / 60 << " min " << taken % 60 << " s" << std::endl;
    } else if (status == EXIT_INTERRUPTED) {
        std::cerr << "velacreate: the job was interrupted" << std::endl;
    } else {
        std::cerr << "velacreate: the job failed with code " << status << std::endl;
    }
    return status;
}

std::string sizeText(std::uintmax_t bytes) {
    const bool isLarge = bytes >= 1U << 30U;
    std::ostringstream text;
    text << std::fixed << std::setprecision(1)
         << static_cast<double>(bytes) / (isLarge ? 1U << 30U : 1U << 20U) << (isLarge ? " GiB" : " MiB");
    return text.str();
}

} // namespace velacreate
