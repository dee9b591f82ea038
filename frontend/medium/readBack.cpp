#include "medium/readBack.h"

#include "forms/isoReader.h"
#include "forms/keyReader.h"
#include "forms/zipReader.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace velacreate {
namespace {
/// Calls a reader with the examination of a file or a disk.
template <typename Reader>
auto examine(const Comparison& comparison, const Descriptor& file, std::uint64_t size,
             Differences& differences, const Reader& reader) {
    MediumBytes bytes(file, size);
    const ReportVariation noReport;
    return reader(Examination{bytes, comparison.sources, differences, comparison.advance, noReport,
                              comparison.medium.isFormOnly});
}

/// Whether an image is for the other machines. An image for none is examined.
bool isForOthers(const Examination& examination, IsoPlatform platform) {
    const auto found = platformOfImage(examination.medium);
    if (found == platform || found == IsoPlatform::none) {
        return false;
    }
    examination.differences.addForm(platform == IsoPlatform::efi
                                        ? "it is for PowerPC machines, and not for UEFI machines"
                                        : "it is for UEFI machines, and not for PowerPC machines");
    return true;
}

Examine imageExamination(const Comparison& comparison, IsoPlatform platform) {
    return [&comparison, platform](Findings& findings) {
        const auto& medium = comparison.medium;
        if (medium.isDisc) {
            refuseLaterSession(medium.file, findings.differences);
            refuseOtherMarks(medium.file, platform == IsoPlatform::powerPc, findings.differences);
        }
        examine(comparison, medium.file, medium.size, findings.differences,
                [&](const Examination& examination) {
                    if (!isForOthers(examination, platform)) {
                        examineIso(examination, comparison.contents.tree, platform,
                                   medium.isDisc ? BehindVolume::anything : BehindVolume::nothing);
                    }
                });
    };
}

KeyForm formOf(const Comparison& comparison) {
    return {comparison.head, comparison.medium.isKeyImage, comparison.medium.others};
}
} // namespace

KeyHead headOfKeys(const ToolPackage& package) {
    return {[&package](const std::string& name) { return package.beginningOf(name); }};
}

Examine compareEfiImage(const Comparison& comparison, Findings& /*findings*/) {
    return imageExamination(comparison, IsoPlatform::efi);
}

Examine comparePowerPcImage(const Comparison& comparison, Findings& /*findings*/) {
    return imageExamination(comparison, IsoPlatform::powerPc);
}

Examine compareKey(const Comparison& comparison, Findings& /*findings*/) {
    return [&comparison](Findings& findings) {
        const auto& medium = comparison.medium;
        const auto form = formOf(comparison);
        const auto found = examine(comparison, medium.file, medium.size, findings.differences,
                                   [&](const Examination& examination) {
                                       return examineKey(examination, comparison.contents.tree, form);
                                   });
        findings.notes = found.notes;
        findings.keptFiles = found.kept.files;
        findings.keptBytes = found.kept.bytes;
    };
}

Obstacles obstaclesOn(const ReadMedium& stick, const ToolPackage& package) {
    const Contents nothing;
    Obstacles found;
    SourceFiles noSources(-1);
    const auto head = headOfKeys(package);
    const Comparison comparison = {noSources, head, nothing, stick, [](std::uint64_t /*bytes*/) {}};
    const auto partition =
        examine(comparison, stick.file, stick.size, found.bootRecord, [&](const Examination& examination) {
            return examineKeyRecord(examination, formOf(comparison));
        });
    if (partition) {
        examine(comparison, stick.file, stick.size, found.leftovers,
                [&](const Examination& examination) { refuseLeftovers(examination, *partition); });
    }
    return found;
}

Examine compareNetbootDirectory(const Comparison& comparison, Findings& findings) {
    const std::string name = VelaCreation::NETBOOT_ARCHIVE;
    const auto what = quote(name);
    compareDirectory(comparison, comparison.contents.besideArchive, {name}, findings.differences);
    auto opened = openBeneath(comparison.medium.file.number(), name, TO_READ);
    refuseOtherThanFile(opened, what);
    if (!opened.isOpen() && errno == ENOENT) {
        findings.differences.addForm("the archive " + what + " is missing");
        return [](Findings& /*findings*/) {};
    }
    check(opened.isOpen()).orFail(what);
    const auto archive = std::make_shared<Descriptor>(std::move(opened));
    refuseSpecialMode(*archive, name, findings.differences);
    return [&comparison, archive](Findings& inside) {
        examine(comparison, *archive, sizeOf(*archive), inside.differences,
                [&](const Examination& examination) { examineZip(examination, comparison.contents.tree); });
    };
}

} // namespace velacreate
