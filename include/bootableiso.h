/// @file
/// The builder and burner of bootable ISO 9660 images, and two helpers for text files.
#ifndef VELACREATION_BOOTABLEISO_H
#define VELACREATION_BOOTABLEISO_H

#include "bootableMedia.h"

namespace VelaCreation {

/// Builds a bootable ISO 9660 image from a tool package and update files, and burns it to a CD or DVD.
class VELACREATION_EXPORT BootableISO : public BootableMedia {
public:
    /// @name Parameter sets of the ISO tool
    /// Each is put between the tool's name and the quoted name of the image. `CreateISO` uses
    /// XORRISO_PAR_LINUX and XORRISO_PAR_PPC.
    /// @{
    static const std::string MKISOFS_PAR_WINDOWS; ///< mkisofs, BIOS boot image
    static const std::string MKISOFS_PAR_LINUX;   ///< the same
    static const std::string MKISOFS_PAR_PPC;     ///< mkisofs, no boot record
    static const std::string XORRISO_PAR_WINDOWS; ///< xorriso, EFI boot image
    static const std::string XORRISO_PAR_LINUX;   ///< the same: platform 1
    static const std::string XORRISO_PAR_PPC;     ///< xorriso, for PowerPC: platform 2
    /// @}

    /// @param logger  must outlive the builder
    explicit BootableISO(VelaLoggerIfc& logger);

    /// Removes no file.
    ~BootableISO() override;

    /// Copies the executables "xorriso" and "cdrecord" from the current directory into the working
    /// directory that `CreateISO` has set. Logs nothing; `CreateISO` calls it and reports its failure.
    /// @return 0, or 100 at the first tool that cannot be copied
    int prepare();

    /// Builds a bootable image. Takes at least fifty seconds: each of its five stages is announced in the
    /// status file and on standard output, and then there is a pause of ten seconds. The process changes to
    /// the working directory and stays there. The unpacked tool package, the tools and the staging directory
    /// stay there until `removeTempFilesAndDirs` is called.
    ///
    /// The executables "xorriso" and "cdrecord" must be in the current directory of the caller, which
    /// must be writable: a capture file stays there. Every file in the working directory is made executable.
    /// @param workDir      an existing directory
    /// @param isoFile      the image to write, relative to `workDir`; must end with ".iso"; quoted in
    ///                     commands
    /// @param updateFiles  files for the image, relative to `workDir`; the library removes its own names from
    ///                     the list and, after it has copied the boot files, sorts it and removes duplicates
    /// @param toolPackage  the zip archive with the boot files, relative to `workDir`; put into commands
    ///                     bare
    /// @param platform     1: booted through EFI; 2: PowerPC (CHRP and PReP)
    /// @return 0 on success, the answer of the logger's `checkpoint` if it is not 0, or
    ///         - 108 `isoFile` does not end with ".iso"
    ///         - 109 the platform is not supported, or the ISO tool failed (its output is then in the log)
    ///         - 81 no update file is left after filtering
    ///         - 100 a tool, the working directory, the tool package or an update file is missing
    ///         - 107 files cannot be made executable
    ///         - 102 the tool package cannot be unpacked
    ///         - 106 the staging directory cannot be made, or a copy failed
    int CreateISO(std::string workDir, std::string isoFile, std::vector<std::string>& updateFiles,
                  std::string toolPackage, int platform);

    /// Burns an image: blanks the disc in fast mode (a failure of this is only logged), writes it and ejects
    /// it. Runs in the working directory, where `CreateISO` left the executable "cdrecord". Returns when the
    /// disc is finished. Leaves the output of "cdrecord" in the capture file.
    /// @param isoFile         the image; must end with ".iso"; put into commands bare
    /// @param device          the drive, as cdrecord's dev= accepts it; put into commands bare
    /// @param reserved        ignored
    /// @param reportProgress  whether the two stages are announced, each with a pause of ten seconds
    /// @return 0 on success, or
    ///         - 108 `isoFile` does not end with ".iso"
    ///         - 112 the image cannot be read
    ///         - 113 cdrecord asks for its overburn option
    ///         - 116 no disc or a wrong disc
    ///         - 111 the disc is too small, or any other failure of cdrecord; its output is in the log
    int BurnISO(const std::string& isoFile, const std::string& device, std::string reserved,
                bool reportProgress);

protected:
    std::string m_workDir; ///< the working directory of the last `CreateISO`
    int m_platform = 1;    ///< the platform code of the last `CreateISO`, 1 before
};

/// Appends the lines of a text file to another file, each with a line feed, and then one empty line.
/// @param source       if it cannot be opened, nothing is appended
/// @param destination  always created if it is missing; must not be the same file as `source`
VELACREATION_EXPORT void appendFile(std::string source, std::string destination);

/// Finds a word in the last line of a file that contains a text. An additional empty line counts as the end
/// of the file; an empty text is therefore found in that line.
/// @param file      the file to search
/// @param text      the text to look for, unchanged
/// @param position  where the word starts in the matching lines, in bytes from 0; the word ends before the
///                  next blank
/// @return the word; empty if no line matches, the word is empty or the file cannot be read
/// @throw std::out_of_range if a matching line is shorter than `position`, or if `position` is negative
VELACREATION_EXPORT std::string findStrInLine(std::string file, std::string text, int position);

} // namespace VelaCreation

#endif
