/// @file
/// The builder of PXE network-boot directories.
#ifndef VELACREATION_BOOTABLEIMG_H
#define VELACREATION_BOOTABLEIMG_H

#include "bootableMedia.h"

namespace VelaCreation {

/// Builds a PXE network-boot directory: loose boot files (docs/media.md lists them) and one archive, ks.zip.
class VELACREATION_EXPORT BootableIMG : public BootableMedia {
public:
    /// @param logger  must outlive the builder
    explicit BootableIMG(VelaLoggerIfc& logger);

    /// Removes no file.
    ~BootableIMG() override;

    /// Announces the first stage of `CreateIMG`, with its pause of ten seconds. Copies nothing.
    /// @return always 0
    int prepare();

    /// Builds a network-boot directory. Takes at least fifty seconds: each of its five stages is announced in
    /// the status file and on standard output, and then there is a pause of ten seconds. The process changes
    /// to the working directory and stays there. The unpacked tool package and the staging directory stay
    /// there until `removeTempFilesAndDirs` is called. Every file in the working directory is made
    /// executable.
    /// @param workDir      an existing directory
    /// @param pxeDir       the output directory, relative to `workDir`; an existing one is removed after the
    ///                     update files are staged; quoted in commands
    /// @param updateFiles  files for the archive, relative to `workDir`; the library removes its own names
    ///                     from the list
    /// @param toolPackage  the zip archive with the boot files, relative to `workDir`; put into commands
    ///                     bare
    /// @return 0 on success, even if the tool package lacks some of the loose boot files; the answer of the
    ///         logger's `checkpoint` if it is not 0, or
    ///         - 81 no update file is left after filtering
    ///         - 100 the working directory, the tool package or an update file is missing
    ///         - 107 files cannot be made executable
    ///         - 102 the tool package cannot be unpacked
    ///         - 106 the staging or the output directory cannot be made, or a copy failed
    ///         - 110 the archive cannot be made; the archiver's output is in the log
    int CreateIMG(std::string workDir, std::string pxeDir, std::vector<std::string>& updateFiles,
                  std::string toolPackage);

protected:
    std::string m_workDir; ///< the working directory of the last `CreateIMG`
};

} // namespace VelaCreation

#endif
