// HungarianAlgorithm::FindAssignments against dlib's max_cost_assignment (costs negated, so its
// maximum is our minimum) on seeded random integer matrices of 100 x 100 and 300 x 300, costs
// 0 to 999. Ours works in place, so each of our runs starts by copying the matrix; dlib gets its
// negated matrix made beforehand. Both must reach the same total on every matrix before a time
// counts. Prints ours / dlib (target: 2.0).
#include <dlib/matrix.h>
#include <dlib/optimization/max_cost_assignment.h>
#include <qobase/algorithms/hungarian_algorithm.h>

#include <cstdio>
#include <random>
#include <vector>

#include "algorithms_bench_support.h"

namespace {

struct Problem {
  Array2D<int> costs;
  dlib::matrix<int> negated;
};

std::vector<Problem> MakeProblems(size_t count, size_t n, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> value(0, 999);
  std::vector<Problem> problems(count);
  for (Problem& problem : problems) {
    problem.costs = Array2D<int>(n, n);
    problem.negated.set_size(static_cast<long>(n), static_cast<long>(n));
    for (size_t r = 0; r < n; ++r) {
      for (size_t c = 0; c < n; ++c) {
        const int cost = value(random);
        problem.costs(r, c) = cost;
        problem.negated(static_cast<long>(r), static_cast<long>(c)) = -cost;
      }
    }
  }
  return problems;
}

long long Total(const Array2D<int>& costs, const std::vector<long>& columns) {
  long long total = 0;
  for (size_t r = 0; r < columns.size(); ++r) {
    total += costs(r, static_cast<size_t>(columns[r]));
  }
  return total;
}

bool Measure(const char* what, size_t count, size_t n, int repetitions) {
  const std::vector<Problem> problems =
      MakeProblems(count, n, 20240917u + static_cast<unsigned>(n));
  for (const Problem& problem : problems) {
    Array2D<int> work = problem.costs;
    std::vector<int> ours;
    HungarianAlgorithm::FindAssignments(work, ours);
    const std::vector<long> theirs = dlib::max_cost_assignment(problem.negated);
    const std::vector<long> oursLong(ours.begin(), ours.end());
    if (Total(problem.costs, oursLong) != Total(problem.costs, theirs)) {
      std::fprintf(stderr, "assignment_bench: totals differ on a %zu x %zu matrix\n", n, n);
      return false;
    }
  }
  volatile long sink = 0;
  const algobench::BestTimes best = algobench::Interleaved(
      repetitions,
      [&] {
        std::vector<int> assignment;
        for (const Problem& problem : problems) {
          Array2D<int> work = problem.costs;
          HungarianAlgorithm::FindAssignments(work, assignment);
          sink = sink + assignment[0];
        }
      },
      [&] {
        for (const Problem& problem : problems) {
          const std::vector<long> assignment = dlib::max_cost_assignment(problem.negated);
          sink = sink + assignment[0];
        }
      });
  return algobench::Report(what, best, 2.0);
}

}  // namespace

int main() {
  std::printf("Assignment, ours / dlib max_cost_assignment, best of interleaved runs:\n");
  bool met = Measure("20 matrices of 100 x 100", 20, 100, 7);
  met = Measure("3 matrices of 300 x 300", 3, 300, 5) && met;
  return met ? 0 : 1;
}
