// A provider's persistent configuration, and where the kit keeps its files.
#ifndef CFICONFIGURATION_H
#define CFICONFIGURATION_H

#include <ace/Configuration.h>

#include <string>
#include <vector>

#include "cficredentials.h"
#include "cfierrormgr.h"
#include "cfitraceable.h"

namespace kzfi_pdk_4_4 {

/// Named sections that hold named integers and texts, loaded from and saved to one file in ACE's
/// registry format.
///
///     CFiConfiguration configuration("myplugin");
///     ACE_Configuration_Section_Key key;
///     if (configuration.openSection("LIMITS", key, 1) == 0) {
///         configuration.setIntegerValue("MAXSNAPSHOTS", 16);
///     }
///     configuration.exportConfig(); // nothing is saved by itself
///
/// The value operations act on the current section, which is the one opened last. Names of values
/// are not case-sensitive. A section is opened by the name it was made with only, and none can be
/// made beside it whose name differs in case alone. A backslash in a section's name separates
/// levels. Values of the root section are not saved.
///
/// Threads: one thread at a time.
/// Ownership: holds everything by value.
/// Errors: nothing is thrown. Operations answer 0 or ACE's status (-1 for a null name). A failed
/// construction or import fills the CFiError base, which a later success does not clear.
class KZFI_PDK_API CFiConfiguration : public virtual CFiError, public virtual CFiTraceable {
  public:
    /// Empty.
    CFiConfiguration();

    /// With importNow, holds what importConfig(dir, file) reads; else empty, and only the file that
    /// exportConfig() writes is set.
    CFiConfiguration(const char* dir, const char* file, bool importNow);

    /// The configuration file of the plug-in called name. A file that is missing or cannot be read
    /// to its end is written at once, with what was read of it; the failure record tells.
    explicit CFiConfiguration(const tstring& name);

    CFiConfiguration(const CFiConfiguration&) = delete;
    CFiConfiguration& operator=(const CFiConfiguration&) = delete;
    ~CFiConfiguration() override;

    /// Adds the file dir + file to what is held already; a value that is held is overwritten. From
    /// now on exportConfig() writes that file, also when the import fails. Returns 0, -1 when the
    /// directory or the file does not exist, or ACE's status.
    int importConfig(const char* dir, const char* file);

    /// Saves all sections to the file, with the mode that the umask leaves. Returns ACE's status.
    /// The file is emptied and written anew in place, so that another process that imports it
    /// meanwhile may see a part of it; while it is open a child started by another thread inherits
    /// its descriptor, as during an import.
    int exportConfig();

    /// The store itself.
    ACE_Configuration_Heap& configHeap();

    /// Opens the section name of parent, or of the root, into key and makes it current; with create
    /// non-zero it is made when missing. After a failure key and the current section are the old
    /// ones.
    int openSection(const ACE_Configuration_Section_Key& parent, const char* name,
                    ACE_Configuration_Section_Key& key, int create);
    int openSection(const char* name, ACE_Configuration_Section_Key& key, int create);

    /// Names of the sections directly below parent, or below the current section, in no particular
    /// order.
    std::vector<tstring> enumerateSections(const ACE_Configuration_Section_Key& parent);
    std::vector<tstring> enumerateSections();

    /// Read and write values of the current section. A value that is missing, or of the other kind,
    /// gives -1 and leaves the output alone. A text is saved as it is: what follows a line break in
    /// it is read back as a line of its own, even as another value or section.
    int getIntegerValue(const char* name, unsigned int& value);
    int setIntegerValue(const char* name, unsigned int value);
    int getStringValue(const char* name, tstring& value);
    int setStringValue(const char* name, const tstring& value);

    /// Make the section of the root current, creating it when missing, and read a value of it. When
    /// the section cannot be opened, its status is returned and value left alone.
    int getIntegerValue(const char* section, const char* name, unsigned int& value);
    int getStringValue(const char* section, const char* name, tstring& value);

    /// The credentials that CFiCredentialsParser finds for vendor and product in the host's text,
    /// followed by those of the sub-sections of section, which is created when missing. A
    /// sub-section has the values "HOSTNAME", "USERNAME" and "PASSWORD", all three not empty;
    /// vendor and product are not looked for in it. With openArray true only sub-sections with
    /// "OPENARRAY" in their names count, with false only the others. Host name and user name
    /// together, whatever their case, are added once. The section read last stays the current one.
    ///
    /// Passwords of the sub-sections appear in clear text in the trace log at level 3.
    std::vector<SFiCredential> importCredentials(std::string vendor, std::string product,
                                                 tstring section, bool openArray);

  private:
    bool openCredentials(const ACE_Configuration_Section_Key& parent, const tstring& section,
                         const tstring& name);
    bool readCredential(const tstring& name, bool openArray, SFiCredential& credential);
    void addIfNew(const SFiCredential& credential, std::vector<SFiCredential>& credentials);
    bool openHeap();
    void setPath(const char* dir, const char* file);
    int fail(int code, const char* text, int line, const char* function);

    ACE_Configuration_Heap heap;
    tstring configName;
    tstring configDir;
    tstring configFile;
    tstring configPath;
    ACE_Configuration_Section_Key currentSection;
};

/// Where the kit keeps its files. Directories end in "/"; one that is missing is created with mode
/// 0755, but not its parents, and whether that worked shows when files in it are opened.
///
/// Threads: any; nothing is held.
/// Errors: none but a UDID that cannot be parsed. All get...Info operations return 0.
class KZFI_PDK_API CFiConfigurationPathTool {
  public:
    CFiConfigurationPathTool() = delete;

    /// 0 when path exists, -1 otherwise.
    static int verify(const char* path);

    /// The install root that the host names, else "/usr/tarnex"; no slash is added. Returns 0.
    static int getInstallPath(tstring& root);

    /// NAME.conf in <install root>/lib/kzfi/configfiles/.
    static int getConfigFileInfo(const tstring& name, tstring& dir, tstring& file);

    /// libNAME in <install root>/resources/.
    static int getMessageFileInfo(const tstring& name, tstring& dir, tstring& file);

    /// NAME.log in /usr/tarnex/stoneleaf/logs/kwfis/, whatever the install root is.
    static int getTraceFileInfo(const tstring& name, tstring& dir, tstring& file);

    /// <install root>/lib/kzfi/cachefiles/.
    static int getCacheLocationInfo(tstring& dir);

    /// The file of a device in the cache of device handles, or of LUN numbers:
    /// <cache>/devHandle/F3/UDID and <cache>/luns/F3/UDID with the UDID's third field F3. The
    /// directory of F3 is created when missing. Returns 0 when it existed, -1 when it did not.
    /// Throws CFiUdidException for a malformed udid; key is then not specified.
    static int getDevKey(const tstring& udid, tstring& key);
    static int getLunKey(const tstring& udid, tstring& key);
};

} // namespace kzfi_pdk_4_4

#endif
