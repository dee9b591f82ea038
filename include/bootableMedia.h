/// @file
/// The common base of the media builders, the logger that a caller implements, the result codes and the
/// tags of the status file.
#ifndef VELACREATION_BOOTABLEMEDIA_H
#define VELACREATION_BOOTABLEMEDIA_H

#include "velacreationversion.h"

#include <string>
#include <vector>

/// Marks what the shared library exports.
#define VELACREATION_EXPORT __attribute__((visibility("default")))

/// The caller's logger. Every builder is constructed with a logger and reports everything to it, on the
/// thread that called the builder. The logger must outlive the builder. The builder never deletes it.
///
/// A logger may throw. No builder catches the exception, so it reaches the caller of the running operation.
/// What the operation did before that stays. The builder can still be cleaned up and destroyed.
class VELACREATION_EXPORT VelaLoggerIfc {
public:
    /// Records one message.
    /// @param level    0: a failure, a warning, or a line of a tool's output that `saveFile` passes on (a
    ///                 failed tool, and the lists of `doDD`); 2: progress, and the output of the PXE archiver
    /// @param message  the text, without a line end
    virtual void logMessage(int level, const std::string& message) = 0;

    /// Asks the caller whether to continue. Each workflow that creates a medium asks once, just before it
    /// copies the boot directory of the unpacked tool package.
    /// @param level    always 6
    /// @param message  "Before copying boot directory of tool.zip to temp directory."
    /// @return 0 to continue; any other value ends the workflow at once, without another message, and
    ///         becomes its result
    virtual int checkpoint(int level, const std::string& message) = 0;

    virtual ~VelaLoggerIfc() = default;
};

/// Builders of bootable service media.
namespace VelaCreation {

/// @name Result codes
/// Every operation that returns a result code returns one of these, or the answer of the logger's
/// `checkpoint`.
/// @{
constexpr int VELAERROR_SUCCESS = 0;                    ///< done
constexpr int VELAERROR_NO_UPDATE_FILES = 81;           ///< no update file is left after filtering
constexpr int VELAERROR_FILE_OR_DIR_NOT_FOUND = 100;    ///< a needed file or directory is missing
constexpr int VELAERROR_USB_ACCESS_ERROR = 101;         ///< the key cannot be named, read, sized or mounted
constexpr int VELAERROR_UNZIP_ERROR = 102;              ///< the tool package cannot be unpacked
constexpr int VELAERROR_FORMAT_ERROR = 104;             ///< the key's file system cannot be made
constexpr int VELAERROR_FILE_OR_DIR_CREATE_ERROR = 106; ///< a file or directory cannot be made or copied
constexpr int VELAERROR_CHANGE_MODE_ERROR = 107;        ///< files cannot be made executable
constexpr int VELAERROR_ISO_EXTENSION_ERROR = 108;      ///< the image's name does not end with ".iso"
constexpr int VELAERROR_MAKE_ISO_ERROR = 109;           ///< the image cannot be made
constexpr int VELAERROR_NOT_INITIALIZED = 110;          ///< `CreateUSBKey` without a successful `init`
constexpr int VELAERROR_ZIP_ERROR = 110;                ///< the PXE archive cannot be made
constexpr int VELAERROR_BURN_ERROR = 111;               ///< the burner failed, or the disc is too small
constexpr int VELAERROR_ISO_NOT_FOUND = 112;            ///< the image to burn cannot be read
constexpr int VELAERROR_CD_MEMORY_ERROR = 113;          ///< the image needs the burner's overburn option
constexpr int VELAERROR_NO_DISK_OR_WRONG_DISK = 116;    ///< no disc, or a wrong one, in the burner
/// @}

/// The code of every record in the status file: the step in the record has begun.
constexpr int VELASTATUS_IN_PROGRESS = 20;

/// @name Tags of the status file
/// A record contains all of them in this order, with the code, the message and the step number between them.
/// @{
const std::string CLI_ERROR = "<CLIERROR>";             ///< opens the record
const std::string CLI_ERROR_CODE = "\n\t<CODE>";        ///< before the status code
const std::string CLI_ERROR_CODE_E = "</CODE>";         ///< after the status code
const std::string CLI_ERROR_MESSAGE = "\n\t<MESSAGE>";  ///< before the step's text
const std::string CLI_ERROR_MESSAGE_E = "</MESSAGE>";   ///< after the step's text
const std::string CLI_STEP_SERIAL = "\n\t<STEPSERIAL>"; ///< before the step's number
const std::string CLI_STEP_SERIAL_E = "</STEPSERIAL>";  ///< after the step's number
const std::string CLI_ERROR_E = "\n</CLIERROR>";        ///< closes the record
/// @}

/// The common part of all builders: the caller's logger, the file operations (run as shell commands), the
/// status file, the output of tools in the log, and the clean-up.
///
/// Rules for every builder:
/// - One builder is for one job, on one thread. The library starts no threads and takes no locks.
/// - A workflow changes the current directory of the process to its working directory and does not change it
///   back. Run only one job at a time in a process.
/// - Nearly every command overwrites the capture file "stdout.txt" in the current directory with its
///   output.
/// - The shell runs the commands with the privileges of the process (root, for keys). A path is quoted in a
///   command only where the operation says so. Everywhere else it must be a single shell word. A path that
///   begins with "-", quoted or not, is an option for the program that gets it: an update file
///   "--target-directory=DIR" makes cp write to another directory, and the job can still return 0. The
///   caller must check the paths.
/// - Nothing is undone after a failure. The destructor of a builder removes no file and unmounts nothing.
/// - Failures are logged at level 0 and returned. Only exceptions of the standard library (no memory) and of
///   the logger reach the caller.
class VELACREATION_EXPORT BootableMedia {
public:
    static const std::string BOOT_FILE;         ///< "boot", the boot files' directory in the tool package
    static const std::string TEMP_FILE;         ///< "tmpInput"
    static const std::string IMAGE_1;           ///< "init1.img", clone image for keys of up to 1 GiB
    static const std::string IMAGE_2;           ///< "init2.img", clone image for keys of up to 2 GiB
    static const std::string IMAGE_4;           ///< "init4.img", clone image for keys of up to 4 GiB
    static const std::string IMAGE_8;           ///< "init8.img", clone image for larger keys
    static const std::string CYGWINZ_DLL_NAME;  ///< "cygwinz.dll"
    static const std::string CYGWIN1_DLL_NAME;  ///< "cygwin1.dll"
    static const std::string CYGICONV_DLL_NAME; ///< "cygiconv-2.dll"
    static const std::string CYGGCC_DLL_NAME;   ///< "cyggcc_s-1.dll"
    static const std::string ISO_DIR_NAME;      ///< "ISOCreation", the staging directory
    static const std::string MINIUNZ_TOOL_NAME; ///< "unzip"
    static const std::string FILE_SEPERATOR;    ///< "/"
    static const std::string CLONE_TOOL_NAME;   ///< "dd"
    static const std::string MKISOFS_TOOL_NAME; ///< "xorriso"
    static const std::string ZIP_TOOL_NAME;     ///< "zip"
    static const std::string CDRECORD_NAME;     ///< "cdrecord"

    /// @param logger  gets the messages of this builder; must outlive the builder
    explicit BootableMedia(VelaLoggerIfc& logger);
    BootableMedia(const BootableMedia&) = delete;
    BootableMedia& operator=(const BootableMedia&) = delete;

    /// Removes no file.
    virtual ~BootableMedia() = 0;

    /// Removes the files of a job from the current directory, which must still be the working directory: the
    /// directories "boot" and "ISOCreation", the files "unzip", "zip", "dd", "xorriso", "cdrecord",
    /// "tmpInput", the four clone images and the four .dll files, and the capture file. The tool package,
    /// the update files and the finished media stay. Does nothing if no workflow has entered its working
    /// directory since the last clean-up. Logs nothing.
    virtual void removeTempFilesAndDirs();

    /// The same, but first removes further files and directories.
    /// @param extra  paths or patterns such as *.tmp, each a single shell word; an empty entry is skipped.
    ///               An entry is logged and not removed if it contains white space, a quote, a backslash, or
    ///               one of ; & | < > ( ) $ `, or if it begins with ~ # or -. The message is "Not removing
    ///               ENTRY, which is not a single shell word. In BootableMedia::removeTempFilesAndDirs()"
    virtual void removeTempFilesAndDirs(std::vector<std::string> extra);

    /// Pauses the calling thread. A signal handler that runs in this thread ends the pause early.
    /// @param seconds  whole seconds; 0 or less returns at once
    void processSleep(int seconds);

    /// @return the system's text for the current `errno`
    std::string getFormatMessage();

    /// @return the path of the status file, "/var/log/Norvane_Support/talo_cli.xml"
    std::string getErrorMessageFilePath();

    /// Rewrites the status file with one record. Does nothing and reports nothing if the file cannot be
    /// opened: the installation must make its directory. Readers can find an empty or partial file.
    /// @param code     the status code
    /// @param message  the step's text, written unchanged, without XML escapes
    /// @param step     the step's serial number
    void saveErrorMessageFile(int code, std::string message, int step);

    /// Logs every line of a text file at level 2, then one empty message. Logs nothing for a file that
    /// cannot be opened.
    /// @param path  the file
    void writeFileToLog(std::string path);

    /// Logs every non-empty line of a text file at level 0. Logs nothing for a file that cannot be opened.
    /// @param path  the file
    void saveFile(std::string path);

    /// @param path  a file or a directory
    /// @return whether the path can be opened for reading; true for a readable directory, too
    bool isFileExist(const std::string& path);

    /// @param path  a file or a directory
    /// @return whether the path, followed through symbolic links, is a directory
    bool isDirExists(const std::string& path);

    /// Copies a file into a directory under the same name. Logs nothing.
    /// @param name     a plain name or relative path, put into the command bare
    /// @param destDir  the directory, quoted in the command
    /// @return false when the file is missing (no command is run) or cannot be copied
    bool copyFile(const std::string& name, const std::string& destDir);

    /// Copies the contents of a directory, except entries whose names begin with a dot.
    /// @param srcDir   the directory to copy from; put into the command bare
    /// @param destDir  the directory to copy into; put into the command bare
    /// @return false if the copy fails, after logging "system(cmd) failed " and the command; the copy also
    ///         fails for a source without a visible entry
    bool copyDir(const std::string& srcDir, const std::string& destDir);

    /// Copies files and directories into a directory.
    /// @param srcDir   used only when `files` is empty: its contents are copied as by `copyDir`
    /// @param destDir  the directory to copy into; bare when `files` is empty, quoted otherwise
    /// @param files    quoted in the copy commands; none may begin with "-". Each file is copied under its
    ///                 own relative path, whose directories are made if necessary (bare in their command, and
    ///                 logged at level 0 in any case). Each directory is copied into `destDir`, which must
    ///                 exist, under its last name. Empty entries are skipped
    /// @return 0; 100 at the first entry that is missing; 106 at the first copy that fails. Earlier entries
    ///         stay copied. Both are logged in messages that begin with "BootableMedia::copyFiles. "
    int copyFiles(const std::string& srcDir, const std::string& destDir,
                  const std::vector<std::string>& files);

    /// Removes the file or directory at the path and makes an empty directory there. The removal happens
    /// even if the directory then cannot be made. Its parent must exist. Logs nothing.
    /// @param path  quoted in the commands
    /// @return false when the directory cannot be made
    bool createDirectory(const std::string& path);

    /// Removes the library's own names (tools, images, directories, the capture file) and the tool package
    /// from a list of update files. Removes only the first entry that is equal to each name. Logs nothing.
    /// @param files        the list, changed in place; the other entries keep their order
    /// @param toolPackage  the tool package as it was passed to the workflow
    void filterFileList(std::vector<std::string>& files, std::string toolPackage);

protected:
    VelaLoggerIfc* m_logger;       ///< the caller's
    bool m_workDirEntered = false; ///< whether the current directory is a working directory to clean up
};

} // namespace VelaCreation

#endif
