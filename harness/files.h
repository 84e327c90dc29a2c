// Files and directories of a test or a measurement.

#ifndef HARNESS_FILES_H
#define HARNESS_FILES_H

#include <filesystem>
#include <string>
#include <vector>

// A new empty directory that every user may use, with no symbolic link in its path. The
// destructor removes it.
class TempDirectory {
  public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(TempDirectory const&) = delete;
    TempDirectory& operator=(TempDirectory const&) = delete;

    std::filesystem::path const& Path() const { return path; }

    // Writes a file of this name in the directory, as WriteFile does. Returns its path.
    std::string Write(std::string const& name, std::string const& content) const;

  private:
    std::filesystem::path path;
};

// Writes `content` to `file`, and makes its directory if need be. Throws
// std::runtime_error if it cannot be written.
void WriteFile(std::filesystem::path const& file, std::string const& content);

// Returns the content of `file`; an empty string if it cannot be read.
std::string ReadFile(std::filesystem::path const& file);

// Returns the lines of `text`, without their line feeds.
std::vector<std::string> Lines(std::string const& text);

#endif
