#include "tools/launchlist_check/finding.h"

#include <algorithm>
#include <tuple>

namespace launchlist_check {

void Findings::Add(Finding finding) {
    if (++counts[{finding.kind, finding.severity}] <= most) {
        kept.push_back(std::move(finding));
    }
}

std::vector<Finding> Findings::InOrder() const {
    std::vector<Finding> ordered = kept;
    auto const place = [](Finding const& finding) {
        return std::tie(finding.position.line, finding.position.column);
    };
    std::stable_sort(
        ordered.begin(), ordered.end(),
        [&place](Finding const& a, Finding const& b) { return place(a) < place(b); });
    return ordered;
}

std::map<Findings::Kind, std::size_t> Findings::LeftOut() const {
    std::map<Kind, std::size_t> left_out;
    for (auto const& [kind, count] : counts) {
        if (count > most) {
            left_out[kind] = count - most;
        }
    }
    return left_out;
}

std::size_t Findings::Count(Severity severity) const {
    std::size_t sum = 0;
    for (auto const& [kind, count] : counts) {
        sum += kind.second == severity ? count : 0;
    }
    return sum;
}

}  // namespace launchlist_check
