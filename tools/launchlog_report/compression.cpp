#include "tools/launchlog_report/compression.h"

#include "common/strings/text.h"
#include "tools/common/text.h"

namespace launchlog_report {
namespace {

constexpr Compression kCompressions[] = {
    {".gz", "gzip -dc", "\x1F\x8B"},
    {".bz2", "bzip2 -dc", "BZh"},
    {".xz", "xz -dc", "\xFD\x37zXZ"},
    {".zst", "zstd -dc", "\x28\xB5\x2F\xFD"},
};

}  // namespace

Compression const* CompressionOfName(std::string const& name) {
    for (Compression const& compression : kCompressions) {
        if (ends_with(name, compression.suffix)) {
            return &compression;
        }
    }
    return nullptr;
}

Compression const* CompressionOfContent(std::string const& beginning) {
    for (Compression const& compression : kCompressions) {
        if (tools::BeginsWith(beginning, compression.first_bytes)) {
            return &compression;
        }
    }
    return nullptr;
}

}  // namespace launchlog_report
