// A provider project to begin with: what it holds, and how it is written.
#ifndef KZFI_SIMHOST_NEW_PROJECT_H
#define KZFI_SIMHOST_NEW_PROJECT_H

#include <string>
#include <vector>

namespace kzfi_simhost {

/// A file of simhost/templates. In its path, below the folder "both", "provider" or "interposer",
/// NAME stands for the project's name; in its text @name@ does, @NAME@ for the name in upper case,
/// and @Class@ for the class that is made of it.
struct ProjectTemplate {
    std::string path;
    std::string text;
};

const std::vector<ProjectTemplate>& projectTemplates();

enum class ProjectKind { PROVIDER, INTERPOSER };

struct ProjectFile {
    std::string path; ///< below the project's folder
    std::string text;
};

/// Why name cannot be that of a project; empty when it can. It becomes a target of CMake, a file's
/// name, a part of message keys and, in other letters, of a class's name.
std::string objectionTo(const std::string& name);

/// The files of a project of this name, which must be one without objection.
std::vector<ProjectFile> projectFiles(const std::string& name, ProjectKind kind);

/// Writes the files into folder, which must be missing or empty. Throws CannotRun; nothing is
/// written over, and what was written so far is removed again.
void writeProject(const std::string& folder, const std::vector<ProjectFile>& files);

} // namespace kzfi_simhost

#endif
