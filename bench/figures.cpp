#include "bench/figures.h"

#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <utility>

namespace {

// Returns the number with three digits that count, at least those before the point.
std::string ThreeDigits(double value) {
    int decimals = 0;
    if (value != 0) {
        int const magnitude = static_cast<int>(std::floor(std::log10(std::fabs(value))));
        decimals = std::clamp(2 - magnitude, 0, 3);
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// Returns the median with three digits; an empty string if there are no values.
std::string MedianText(std::vector<double> const& values) {
    return values.empty() ? "" : ThreeDigits(Median(values));
}

Json::Value ToJson(std::vector<double> const& values) {
    Json::Value array(Json::arrayValue);
    for (double const value : values) {
        array.append(value);
    }
    return array;
}

}  // namespace

double Median(std::vector<double> values) {
    return Percentile(std::move(values), 50);
}

double Percentile(std::vector<double> values, double percent) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    double const place = percent / 100 * static_cast<double>(values.size() - 1);
    auto const below = static_cast<std::size_t>(place);
    std::size_t const above = std::min(below + 1, values.size() - 1);
    double const share = place - static_cast<double>(below);
    return values[below] * (1 - share) + values[above] * share;
}

void Figures::Add(std::string const& table, std::string const& row,
                  std::string const& unit, Kind kind, double value) {
    auto const same = [&](Row const& r) { return r.table == table && r.name == row; };
    auto found = std::find_if(rows.begin(), rows.end(), same);
    if (found == rows.end()) {
        found = rows.insert(found, {table, row, unit, {}});
    }
    found->values[kind].push_back(value);
}

double Figures::MedianRatio(Row const& row) {
    std::vector<double> ratios;
    std::size_t const rounds =
        std::min(row.values[kLauncher].size(), row.values[kFloor].size());
    for (std::size_t i = 0; i < rounds; ++i) {
        if (row.values[kFloor][i] != 0) {
            ratios.push_back(row.values[kLauncher][i] / row.values[kFloor][i]);
        }
    }
    return Median(ratios);
}

void Figures::PrintTables(std::ostream& out) const {
    std::vector<std::string> printed;
    for (Row const& first : rows) {
        if (std::find(printed.begin(), printed.end(), first.table) != printed.end()) {
            continue;
        }
        printed.push_back(first.table);
        out << "### " << first.table << "\n\n| | unit | launcher | floor | ratio |\n"
            << "|---|---|---:|---:|---:|\n";
        for (Row const& row : rows) {
            if (row.table != first.table) {
                continue;
            }
            double const ratio = MedianRatio(row);
            char text[32] = "";
            std::snprintf(text, sizeof text, "%.2f", ratio);
            out << "| " << row.name << " | " << row.unit << " | "
                << MedianText(row.values[kLauncher]) << " | "
                << MedianText(row.values[kFloor]) << " | " << (ratio == 0 ? "" : text)
                << " |\n";
        }
        out << "\n";
    }
}

void Figures::PrintJson(std::ostream& out, std::string const& machine) const {
    Json::Value document(Json::objectValue);
    document["machine"] = machine;
    document["figures"] = Json::Value(Json::arrayValue);
    for (Row const& row : rows) {
        Json::Value figure;
        figure["table"] = row.table;
        figure["name"] = row.name;
        figure["unit"] = row.unit;
        figure["launcher"] = Median(row.values[kLauncher]);
        figure["floor"] = Median(row.values[kFloor]);
        figure["ratio"] = MedianRatio(row);
        figure["launcher values"] = ToJson(row.values[kLauncher]);
        figure["floor values"] = ToJson(row.values[kFloor]);
        document["figures"].append(figure);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["precision"] = 6;
    out << Json::writeString(builder, document) << "\n";
}
