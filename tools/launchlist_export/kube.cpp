// A pod with a container for each item.

#include <algorithm>
#include <cstdio>

#include "common/json/text_encoding.h"
#include "tools/common/printable.h"
#include "tools/launchlist_export/formats.h"

namespace launchlist_export {

namespace {

// Kubernetes replaces $(NAME), makes one $ of two, and damages a character after a $ that
// is not ASCII. After $$ all of them stand for themselves. Other $ stay as they are, for
// engines that replace nothing.
std::string EscapeDollars(std::string const& text) {
    std::string escaped;
    for (std::size_t i = 0; i < text.size(); ++i) {
        escaped += text[i];
        char const next = i + 1 < text.size() ? text[i + 1] : ' ';
        bool const is_ascii = static_cast<unsigned char>(next) < 0x80U;
        if (text[i] == '$' && (next == '$' || next == '(' || !is_ascii)) {
            escaped += '$';
        }
    }
    return escaped;
}

std::string Strings(std::vector<std::string> const& texts, std::size_t first,
                    std::size_t end) {
    std::string lines;
    for (std::size_t i = first; i < end; ++i) {
        lines += "        - " + QuoteForKube(EscapeDollars(texts[i])) + "\n";
    }
    return lines;
}

std::string Container(ExportedItem const& item, FormatOptions const& options) {
    std::string text = "    # item " + InComment(item.name) + "\n";
    if (item.has_launch_with) {
        text +=
            "    # The end of launch-with ends the container, so its --grace has no "
            "effect. Name its\n"
            "    # program instead: terminationGracePeriodSeconds is the grace.\n";
    }
    text += "    - name: " + QuoteForKube(item.identifier) +
            "\n      image: " + QuoteForKube(options.image) + "\n      command:\n" +
            Strings(item.arguments, 0, 1);
    return item.arguments.size() == 1
               ? text
               : text + "      args:\n" +
                     Strings(item.arguments, 1, item.arguments.size());
}

long long StopSeconds(ExportedList const& list) {
    long long seconds = 0;
    for (ExportedItem const& item : list.items) {
        seconds = std::max(seconds, item.stop_seconds);
    }
    return seconds;
}

}  // namespace

std::string QuoteForKube(std::string const& text) {
    std::string quoted = "\"";
    for (wchar_t const character : s2ws(text)) {
        if (character == L'"' || character == L'\\') {
            quoted += {'\\', static_cast<char>(character)};
        } else if (character >= L' ' && character <= L'~') {
            quoted += static_cast<char>(character);
        } else {
            char escaped[11];
            std::snprintf(escaped, sizeof escaped, "\\U%08X",
                          static_cast<unsigned>(character));
            quoted += escaped;
        }
    }
    return quoted + '"';
}

std::string FindProblemForKube(ExportedItem const& item) {
    return FindProblemInArguments(item, [](std::string const& argument) -> std::string {
        return tools::IsUtf8(argument) ? "" : "is not UTF-8, which a manifest must be";
    });
}

std::vector<File> WriteForKube(ExportedList const& list, FormatOptions const& options) {
    std::string text = "# launchlist.yaml: the programs of a launch list\n" +
                       CommentOnNotStarted(list, "# ", "") +
                       R"(# The image must have the programs; --image names another one.
# Podman before 4.7 does not replace $$: arguments below that have it get one $ more.
# Podman 4.3 refuses an argument that begins with two line feeds.
# The launcher starts a program again 50 ms after each end. Kubernetes starts it at
# once after the first end, then after 10 seconds, 20, 40, and up to 5 minutes. After 10
# minutes without an end it begins anew.
# The environment, the files, the working directory and the limits are those of the
# container. The launcher gives no standard streams; here the log of the container has the
# output.
apiVersion: v1
kind: Pod
metadata:
  name: launchlist
spec:
  restartPolicy: Always
  # As below the launcher, no program is the process 1, which SIGTERM does not end.
  shareProcessNamespace: true
  # The launcher sends SIGKILL at once. Here SIGTERM comes first, and SIGKILL after these
  # seconds.
  terminationGracePeriodSeconds: )" +
                       std::to_string(StopSeconds(list)) + "\n  containers:\n";
    for (ExportedItem const& item : list.items) {
        text += Container(item, options);
    }
    return {{"launchlist.yaml", text}};
}

}  // namespace launchlist_export
