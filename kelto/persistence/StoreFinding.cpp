#include "kelto/persistence/StoreFinding.hpp"

namespace kelto {

std::string_view nameOf(StoreFinding::Kind kind) {
    using Kind = StoreFinding::Kind;
    switch (kind) {
        case Kind::unusableDatabase:
            return "unusableDatabase";
        case Kind::damagedDatabase:
            return "damagedDatabase";
        case Kind::missingPart:
            return "missingPart";
        case Kind::usedNumber:
            return "usedNumber";
        case Kind::missingTarget:
            return "missingTarget";
        case Kind::illFormedList:
            return "illFormedList";
        case Kind::missingListTarget:
            return "missingListTarget";
        case Kind::cycle:
            return "cycle";
        case Kind::duplicate:
            return "duplicate";
        case Kind::unreadableValue:
            return "unreadableValue";
        case Kind::missingPayload:
            return "missingPayload";
        case Kind::damagedPayload:
            return "damagedPayload";
        case Kind::unusedPayload:
            return "unusedPayload";
        case Kind::stray:
            return "stray";
        case Kind::leftover:
            return "leftover";
        case Kind::permissions:
            return "permissions";
    }
    return "";
}

}  // namespace kelto
