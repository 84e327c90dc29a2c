// Random choices that a seed decides: the same ones with every standard library.

#ifndef TESTS_PREDICTIONS_RANDOM_H
#define TESTS_PREDICTIONS_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine(seed) {}

    // Returns a number from 0 to `limit` - 1.
    std::size_t Below(std::size_t limit) { return engine() % limit; }

    // Returns a number from `first` to `last`.
    int From(int first, int last) {
        int const count = last - first + 1;
        return first + static_cast<int>(Below(static_cast<std::size_t>(count)));
    }

    // Returns true once in `count` times.
    bool OneIn(std::size_t count) { return Below(count) == 0; }

    // Returns one of the elements of an array or a vector.
    template <typename Sequence>
    auto const& Pick(Sequence const& sequence) {
        return sequence[Below(std::size(sequence))];
    }

    // Returns that many bytes.
    std::string Bytes(std::size_t count) {
        std::string bytes(count, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(Below(256));
        }
        return bytes;
    }

  private:
    std::mt19937_64 engine;
};

#endif
