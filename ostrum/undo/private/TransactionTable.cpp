#include "ostrum/undo/private/TransactionTable.h"

#include <new>

namespace Ostrum::Undo::Private {

namespace {

class TableFull : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

}  // namespace

Generic::BasicDescriptorTable& GetTransactionTable() {
  static auto* table = new Generic::BasicDescriptorTable;
  return *table;
}

void ThrowTableFull() { throw TableFull(); }

}  // namespace Ostrum::Undo::Private
