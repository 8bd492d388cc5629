// bm_solve: the best gain of a round from its deal.
//
//   bm_solve [--line] < deals     one deal a line: the 52 card values of positions 0..51 and, if
//                                 wanted, the speed (1200 when left out); prints the best gain a
//                                 line, and with --line the moves that reach it
//   bm_solve --bench N            solves N random deals and prints the median and 99th percentile
//                                 time per deal and the peak memory
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <numeric>
#include <random>
#include <sstream>
#include <string>

#include "solver/solver.h"

namespace {

using bm::solver::Position;
using bm::solver::Solver;

constexpr int kStartSpeed = 1200;

int usage() {
    std::fprintf(stderr, "usage: bm_solve [--line] < deals\n       bm_solve --bench N\n");
    return 2;
}

// Reads "v0 v1 ... v51 [speed]"; false with a reason when the line is no deal.
bool parseDeal(const std::string& text, std::array<int16_t, 52>& deck, int& speed,
               std::string& error) {
    std::istringstream in(text);
    std::vector<long> numbers;
    long n;
    while (in >> n) numbers.push_back(n);
    if (!in.eof()) {
        error = "not a number";
        return false;
    }
    if (numbers.size() != 52 && numbers.size() != 53) {
        error = "expected 52 card values and an optional speed, got " +
                std::to_string(numbers.size()) + " numbers";
        return false;
    }
    std::array<bool, 52> seen{};
    for (size_t k = 0; k < 52; ++k) {
        if (numbers[k] < 0 || numbers[k] > 51 || seen[static_cast<size_t>(numbers[k])]) {
            error = "the card values are not 0..51 each once";
            return false;
        }
        seen[static_cast<size_t>(numbers[k])] = true;
        deck[k] = static_cast<int16_t>(numbers[k]);
    }
    speed = numbers.size() == 53 ? static_cast<int>(numbers[52]) : kStartSpeed;
    return true;
}

void printLine(const Position& start, const bm::solver::Result& result, int speed) {
    Position p = start;
    int64_t total = 0;
    for (const auto& move : result.line) {
        std::string what = bm::solver::describe(move, p);
        int64_t gain = bm::solver::applyMove(p, move, speed);
        total += gain;
        std::printf("  %-28s %+6lld  = %lld\n", what.c_str(), static_cast<long long>(gain),
                    static_cast<long long>(total));
    }
}

int solveInput(bool showLine) {
    Solver solver;
    std::string text;
    int lineNo = 0, failures = 0;
    while (std::getline(std::cin, text)) {
        ++lineNo;
        if (text.find_first_not_of(" \t\r") == std::string::npos || text[0] == '#') continue;
        std::array<int16_t, 52> deck{};
        int speed = 0;
        std::string error;
        if (!parseDeal(text, deck, speed, error)) {
            std::fprintf(stderr, "line %d: %s\n", lineNo, error.c_str());
            ++failures;
            continue;
        }
        Position start = Position::deal(deck);
        auto result = solver.solve(start, speed);
        std::printf("%lld\n", static_cast<long long>(result.gain));
        if (showLine) printLine(start, result, speed);
    }
    return failures == 0 ? 0 : 1;
}

double cpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e3 + static_cast<double>(ts.tv_nsec) / 1e6;
}

// Wall-clock and processor time per deal: on a busy machine the two part ways.
int bench(int deals) {
    std::mt19937 rng(20240611);
    std::array<int16_t, 52> deck{};
    std::iota(deck.begin(), deck.end(), int16_t{0});
    Solver solver;
    std::vector<double> wall, cpu;
    int64_t gains = 0;
    for (int d = 0; d < deals; ++d) {
        std::shuffle(deck.begin(), deck.end(), rng);
        auto t0 = std::chrono::steady_clock::now();
        double c0 = cpuMs();
        gains += solver.solve(Position::deal(deck), kStartSpeed).gain;
        cpu.push_back(cpuMs() - c0);
        wall.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                .count());
    }
    std::sort(wall.begin(), wall.end());
    std::sort(cpu.begin(), cpu.end());
    auto at = [](const std::vector<double>& v, double q) {
        return v[static_cast<size_t>(q * static_cast<double>(v.size() - 1))];
    };
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("deals %d, mean gain %.0f\n", deals, static_cast<double>(gains) / deals);
    std::printf("median %.2f ms, p99 %.2f ms, max %.2f ms\n", at(wall, 0.5), at(wall, 0.99),
                wall.back());
    std::printf("processor time: median %.2f ms, p99 %.2f ms, max %.2f ms\n", at(cpu, 0.5),
                at(cpu, 0.99), cpu.back());
    std::printf("peak memory %.1f MB\n", static_cast<double>(usage.ru_maxrss) / 1024.0);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    bool showLine = false;
    for (int k = 1; k < argc; ++k) {
        if (std::strcmp(argv[k], "--line") == 0) {
            showLine = true;
        } else if (std::strcmp(argv[k], "--bench") == 0 && k + 1 < argc) {
            int deals = std::atoi(argv[k + 1]);
            if (deals <= 0) return usage();
            return bench(deals);
        } else {
            return usage();
        }
    }
    return solveInput(showLine);
}
