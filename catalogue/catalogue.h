#pragma once
/// The table of all operations.

#include "catalogue/operation.h"

namespace rasterkit::catalogue {

/// Every operation, family by family.
const std::vector<Operation>& operations();
/// Null for an unknown name.
const Operation* find(std::string_view name);
/// The name in the list that is most like the word: for "did you mean".
std::string nearest(std::string_view word, const std::vector<std::string>& names);

/// The families' parts of the table.
std::vector<Operation> analysisOperations();
std::vector<Operation> colourOperations();
std::vector<Operation> coreOperations();
std::vector<Operation> geometryOperations();
std::vector<Operation> pointOperations();
std::vector<Operation> neighbourhoodOperations();
std::vector<Operation> rankOperations();

}  // namespace rasterkit::catalogue
