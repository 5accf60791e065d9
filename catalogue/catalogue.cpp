#include "catalogue/catalogue.h"

#include <algorithm>

namespace rasterkit::catalogue {
namespace {

struct Family {
  const char* name;
  std::vector<Operation> (*operations)();
};

constexpr Family kFamilies[] = {
    {"planes", coreOperations},
    {"colour", colourOperations},
    {"geometry", geometryOperations},
    {"point", pointOperations},
    {"neighbourhood", neighbourhoodOperations},
    {"neighbourhood", rankOperations},
    {"analysis", analysisOperations},
};

std::vector<Operation> all() {
  std::vector<Operation> table;
  for (const Family& family : kFamilies) {
    for (auto members = family.operations(); Operation & operation : members) {
      operation.family = family.name;
      table.push_back(std::move(operation));
    }
  }
  return table;
}

// Insertions, deletions, substitutions and exchanges of neighbours that make one word the other (Damerau 1964, in the
// restricted form).
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = i + j;
        continue;
      }
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

const std::vector<Operation>& operations() {
  static const std::vector<Operation> table = all();
  return table;
}

const Operation* find(std::string_view name) {
  const auto& table = operations();
  const auto found = std::ranges::find(table, name, &Operation::name);
  return found == table.end() ? nullptr : &*found;
}

std::string nearest(std::string_view word, const std::vector<std::string>& names) {
  const auto found = std::ranges::min_element(names, {}, [&](const std::string& name) { return distance(word, name); });
  return found == names.end() ? "" : *found;
}

}  // namespace rasterkit::catalogue
