// What was read of a file, so that it is recognised under another name, compressed or
// copied.

#ifndef TOOLS_LAUNCHLOG_REPORT_CONTENT_H
#define TOOLS_LAUNCHLOG_REPORT_CONTENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace launchlog_report {

// The length and a hash of some bytes, with a copy of their beginning and of their end.
class Content {
  public:
    // Adds the bytes that follow those that were added before.
    void Add(char const* bytes, std::size_t size);

    std::uint64_t Length() const { return length; }

    // Returns whether both are equal, by length and hash.
    bool operator==(Content const& other) const {
        return length == other.length && hash == other.hash;
    }

    // Returns whether one begins with the other, as far as both are kept: 4 KiB at most.
    bool BeginsLike(Content const& other) const;

    // Returns whether `bytes` are the last KeptEnd() bytes that were added.
    bool EndsWith(std::string const& bytes) const;

    // Returns how many bytes of the end are kept: 64, or all if there are fewer.
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
    // `contents` is what was read before.
    explicit ContentFinder(std::vector<Content> const& contents);

    // Takes the next bytes of the file.
    void Add(char const* bytes, std::size_t size);

    // Returns how many bytes at the beginning of the file were read before. Call it after
    // all bytes were added.
    std::uint64_t KnownLength() const;

  private:
    // In the order of their lengths.
    std::vector<Content> known;
    // The first of these that is not shorter than the bytes that were added.
    std::size_t next = 0;
    Content content;
    std::uint64_t known_length = 0;
};

}  // namespace launchlog_report

#endif
