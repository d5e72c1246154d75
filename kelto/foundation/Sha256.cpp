#include "kelto/foundation/Sha256.hpp"

#include <cstring>

#include <openssl/evp.h>

#include "kelto/foundation/FatalError.hpp"
#include "kelto/foundation/HexDigits.hpp"
#include "kelto/foundation/WorkCounters.hpp"

namespace kelto {

namespace {

/// Looked up once: finding the implementation costs more than hashing a short text with it.
EVP_MD* sha256Algorithm() {
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    if (algorithm == nullptr) fatalError("The cryptographic library has no SHA-256");
    return algorithm;
}

void require(int succeeded) {
    // Digests fail only when memory is out or the library is misused.
    if (succeeded != 1) fatalError("The cryptographic library could not compute a digest");
}

}  // namespace

struct Sha256::State {
    State() {
        if (context == nullptr) fatalError("There is no memory for a digest");
        require(EVP_DigestInit_ex2(context, sha256Algorithm(), nullptr));
    }
    ~State() { EVP_MD_CTX_free(context); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void update(Bytes bytes) { require(EVP_DigestUpdate(context, bytes.data(), bytes.size())); }

    Digest finish() {
        countWork(Work::digests);
        Digest digest;
        require(EVP_DigestFinal_ex(context, digest.bytes.data(), nullptr));
        require(EVP_DigestInit_ex2(context, nullptr, nullptr));  // the same algorithm again
        return digest;
    }

    EVP_MD_CTX* context = EVP_MD_CTX_new();
};

Sha256::Sha256() : state_(std::make_unique<State>()) {}
Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::update(Bytes bytes) {
    state_->update(bytes);
}

Digest Sha256::finish() {
    return state_->finish();
}

Digest sha256(Bytes bytes) {
    thread_local Sha256 hasher;
    hasher.update(bytes);
    return hasher.finish();
}

Digest sha256(std::string_view text) {
    return sha256(bytesOf(text));
}

std::string Digest::hex() const {
    std::string text(hexLength, '\0');
    putHex(text.data());
    return text;
}

void Digest::appendHex(std::string& text) const {
    const std::size_t before = text.size();
    text.resize(before + hexLength);
    putHex(text.data() + before);
}

void Digest::putHex(char* to) const {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        putHexPair(to + 2 * i, bytes[i], lowerCaseHexPairs);
    }
}

std::optional<Digest> Digest::parse(std::string_view hex) {
    Digest digest;
    if (hex.size() != 2 * digest.bytes.size()) return std::nullopt;
    unsigned seen = 0;  // the values of all digits, joined: above 15 when one was no digit
    for (std::size_t i = 0; i < digest.bytes.size(); ++i) {
        const unsigned high = hexDigitValue(hex[2 * i]);
        const unsigned low = hexDigitValue(hex[2 * i + 1]);
        seen |= high | low;
        digest.bytes[i] = static_cast<std::uint8_t>((high << 4 | low) & 0xFF);
    }
    if (seen > 0xF) return std::nullopt;
    return digest;
}

}  // namespace kelto

std::size_t std::hash<kelto::Digest>::operator()(const kelto::Digest& digest) const noexcept {
    // Every part of a digest is as good as random.
    std::size_t first = 0;
    std::memcpy(&first, digest.bytes.data(), sizeof first);
    return first;
}
