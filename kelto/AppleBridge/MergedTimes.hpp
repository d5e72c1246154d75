#pragma once

#include "kelto/foundation/Date.hpp"
#include "kelto/persistence/ModelContext.hpp"

namespace kelto {

/// A moment that could not be written back would stop the process at every later exchange, so it
/// stops it now, while the store is still whole. In a rehearsal nothing is at stake: it is thrown.
void checkTime(const Date& date, bool isRehearsal);
/// The same for all moments of what the unit of work has made or changed.
void checkTimes(const ModelContext& context, bool isRehearsal);

}  // namespace kelto
