// What was read of a file, so that it is known again under another name, packed or
// copied.

#ifndef TOOLS_LAUNCHLOG_REPORT_CONTENT_H
#define TOOLS_LAUNCHLOG_REPORT_CONTENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Content {
  public:
    // Adds the bytes that follow what was added before.
    void Add(char const* bytes, std::size_t size);

    std::uint64_t Length() const { return length; }

    // Says whether both are equal, by length and hash.
    bool operator==(Content const& other) const {
        return length == other.length && hash == other.hash;
    }

    // Says whether the beginnings are equal, as far as both are kept, 4 KiB at most.
    bool BeginsLike(Content const& other) const;

    // Says whether `bytes` are the last that were added.
    bool EndsWith(std::string const& bytes) const;

    // How many bytes EndsWith can compare, 64 at most.
    std::size_t KeptEnd() const { return end.size(); }

  private:
    std::uint64_t length = 0;
    std::uint64_t hash = 14695981039346656037U;
    std::string beginning;
    std::string end;
};

// Finds out, while a file is read, how much of it was read before.
class ContentFinder {
  public:
    explicit ContentFinder(std::vector<Content> const& contents);

    // Takes the next bytes of the file.
    void Add(char const* bytes, std::size_t size);

    // Returns how many bytes at the beginning of the file are known; for after its end.
    std::uint64_t KnownLength() const;

  private:
    // In the order of their lengths.
    std::vector<Content> known;
    // The first of these that is longer than what was added, or as long.
    std::size_t next = 0;
    Content content;
    std::uint64_t known_length = 0;
};

#endif
