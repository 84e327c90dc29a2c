// Files and directories of a test.

#ifndef HARNESS_FILES_H
#define HARNESS_FILES_H

#include <filesystem>
#include <string>
#include <vector>

// A new empty directory that every user may use, with a path free of symbolic links;
// removed with the object.
class TempDirectory {
  public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(TempDirectory const&) = delete;
    TempDirectory& operator=(TempDirectory const&) = delete;

    std::filesystem::path const& Path() const { return path; }

    // Writes a file of this name in the directory, as WriteFile does; returns its path.
    std::string Write(std::string const& name, std::string const& content) const;

  private:
    std::filesystem::path path;
};

// Writes `content` to `file`, making its directory if need be.
void WriteFile(std::filesystem::path const& file, std::string const& content);

// Returns the content of `file`, nothing if it is not there.
std::string ReadFile(std::filesystem::path const& file);

// Cuts `text` after every line feed; the line feeds are dropped.
std::vector<std::string> Lines(std::string const& text);

#endif
