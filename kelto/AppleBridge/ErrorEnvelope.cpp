#include "kelto/AppleBridge/ErrorEnvelope.hpp"

#include "kelto/AppleBridge/CloudErrorDescription.hpp"
#include "kelto/foundation/JsonWriter.hpp"
#include "kelto/foundation/Text.hpp"

namespace kelto {

std::string errorEnvelope(const std::exception& error) {
    std::string envelope = R"({"version":)";
    appendJsonInteger(envelope, bridgeProtocolVersion);
    envelope += R"(,"error":)";
    // A sentence may quote a file name or a foreign message, which are not always UTF-8.
    appendJsonString(envelope, repairedUtf8(cloudErrorDescription(error)));
    envelope += '}';
    return envelope;
}

}  // namespace kelto
