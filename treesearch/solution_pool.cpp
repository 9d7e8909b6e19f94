#include "treesearch/solution_pool.h"

#include <iterator>

namespace treesearch {

AbstractSolution::~AbstractSolution() = default;

SolutionPool::SolutionPool(AbstractMachineGlobalData const& machine, std::size_t capacity)
    : machine_(machine), capacity_(capacity) {}

void SolutionPool::add(std::shared_ptr<AbstractSolution> const& solution) {
  if (!solution) return;
  if (capacity_ == 0) return;
  if (solutions_.size() >= capacity_ && !(*solution < **solutions_.rbegin())) return;
  solutions_.insert(solution);
  if (solutions_.size() > capacity_) solutions_.erase(std::prev(solutions_.end()));
}

std::shared_ptr<AbstractSolution> SolutionPool::get_best_solution() const {
  if (solutions_.empty()) return nullptr;
  return *solutions_.begin();
}

}  // namespace treesearch
