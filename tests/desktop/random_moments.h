#pragma once

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

namespace dravo::testing {

/// When something bad happens. Prints its seed; DRAVO_SEED in the environment repeats a run as far as time can.
class RandomMoments {
public:
    RandomMoments() {
        const char* given = std::getenv("DRAVO_SEED");
        const unsigned seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
        std::cout << "DRAVO_SEED=" << seed << '\n';
        generator_.seed(seed);
    }

    /// How many rounds a test makes: `usually`, or DRAVO_ROUNDS of the environment.
    static int rounds(int usually) {
        const char* given = std::getenv("DRAVO_ROUNDS");
        return given ? std::atoi(given) : usually;
    }
    /// One of 0, 1, ... `count` - 1.
    int oneOf(int count) { return std::uniform_int_distribution(0, count - 1)(generator_); }

    /// Lets a random part of `most` pass.
    void pass(std::chrono::milliseconds most) {
        const std::chrono::microseconds limit = most;
        std::this_thread::sleep_for(
            std::chrono::microseconds(std::uniform_int_distribution<long>(0, limit.count())(generator_)));
    }

private:
    std::mt19937 generator_;
};

}  // namespace dravo::testing
