#include "tools/launchlist_export/formats.h"

namespace launchlist_export {

namespace {

constexpr Format kFormats[] = {
    {"systemd", FindProblemForSystemd, WriteForSystemd},
    {"kube", FindProblemForKube, WriteForKube},
    {"supervisord", FindProblemForSupervisord, WriteForSupervisord},
    {"launchd", FindProblemForLaunchd, WriteForLaunchd},
};

}  // namespace

Format const* FindFormat(std::string const& name) {
    for (Format const& format : kFormats) {
        if (name == format.name) {
            return &format;
        }
    }
    return nullptr;
}

std::string CommentOnNotStarted(ExportedList const& list, std::string const& before,
                                std::string const& after) {
    std::string comments;
    for (std::string const& it : list.not_started) {
        comments += before + "Left out: " + it + after + "\n";
    }
    return comments;
}

}  // namespace launchlist_export
