// The figures that were measured of the launcher and of the floor, and their tables.
//
//   Figures figures;
//   figures.Add("Stop", "10 programs", "ms", kLauncher, 502.1);
//   figures.Add("Stop", "10 programs", "ms", kFloor, 501.6);
//   figures.PrintTables(std::cout);
//
// prints
//
//   ### Stop
//
//   | | unit | launcher | floor | ratio |
//   |---|---|---:|---:|---:|
//   | 10 programs | ms | 502 | 502 | 1.00 |

#ifndef BENCH_FIGURES_H
#define BENCH_FIGURES_H

#include <iosfwd>
#include <string>
#include <vector>

enum Kind { kLauncher, kFloor };

// Returns the median; 0 if there are no values.
double Median(std::vector<double> values);

// Returns the value that `percent` of the values do not exceed; 0 if there are no values.
double Percentile(std::vector<double> values, double percent);

class Figures {
  public:
    // Adds what one round has measured. Tables and rows stand in the order of their first
    // values. Both kinds get equally many values, and the values of one round stand at
    // the same place in both; or the launcher alone has values.
    void Add(std::string const& table, std::string const& row, std::string const& unit,
             Kind kind, double value);

    // Prints the medians over all rounds, and the median of the rounds' ratios, as tables
    // in Markdown.
    void PrintTables(std::ostream& out) const;

    // Prints all values and those medians as JSON. `machine` is one line of text.
    void PrintJson(std::ostream& out, std::string const& machine) const;

  private:
    struct Row {
        std::string table;
        std::string name;
        std::string unit;
        std::vector<double> values[2];  // by Kind
    };

    // Returns the median of launcher / floor; 0 if no round has both, or the floor has 0.
    static double MedianRatio(Row const& row);

    std::vector<Row> rows;
};

#endif
