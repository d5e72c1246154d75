#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "kelto/foundation/Date.hpp"
#include "kelto/foundation/Uuid.hpp"
#include "kelto/persistence/ModelObject.hpp"
#include "kelto/persistence/Schema.hpp"

namespace kelto {

/// How the C++ types of stored fields become columns and come back.
namespace column {

inline void write(RowWriter& row, int at, const Uuid& value) {
    row.blob(at, std::as_bytes(std::span(value.bytes)));
}
inline void write(RowWriter& row, int at, const std::string& value) {
    row.text(at, value);
}
inline void write(RowWriter& row, int at, std::int64_t value) {
    row.integer(at, value);
}
inline void write(RowWriter& row, int at, double value) {
    row.real(at, value);
}
inline void write(RowWriter& row, int at, bool value) {
    row.integer(at, value ? 1 : 0);
}
inline void write(RowWriter& row, int at, const Date& value) {
    row.real(at, value.secondsSince1970);
}
inline void write(RowWriter& row, int at, const Payload& value) {
    row.blob(at, std::as_bytes(std::span(value.digest.bytes)));
}

void read(RowReader& row, int at, Uuid& value);
void read(RowReader& row, int at, Payload& value);
/// A text that another program has stored ill-formed is read as repaired.
void read(RowReader& row, int at, std::string& value);
inline void read(RowReader& row, int at, std::int64_t& value) {
    value = row.integer(at);
}
void read(RowReader& row, int at, double& value);
inline void read(RowReader& row, int at, bool& value) {
    value = row.integer(at) != 0;
}
void read(RowReader& row, int at, Date& value);

template <typename Value>
void write(RowWriter& row, int at, const std::optional<Value>& value) {
    if (value) {
        write(row, at, *value);
    } else {
        row.null(at);
    }
}
template <typename Value>
void read(RowReader& row, int at, std::optional<Value>& value) {
    if (row.isNull(at)) {
        value.reset();
    } else {
        read(row, at, value.emplace());
    }
}

inline void write(RowWriter& row, int at, const HeldPayload& value) {
    // What is bound to a row is borrowed.
    if (const Payload* payload = value.get()) {
        write(row, at, *payload);
    } else {
        row.null(at);
    }
}
inline void read(RowReader& row, int at, HeldPayload& value) {
    std::optional<Payload> payload;
    read(row, at, payload);
    value = payload;
}

template <typename Value>
struct TypeOf;
template <>
struct TypeOf<Uuid> : std::integral_constant<AttributeType, AttributeType::uuid> {};
template <>
struct TypeOf<std::string> : std::integral_constant<AttributeType, AttributeType::text> {};
template <>
struct TypeOf<std::int64_t> : std::integral_constant<AttributeType, AttributeType::integer> {};
template <>
struct TypeOf<double> : std::integral_constant<AttributeType, AttributeType::real> {};
template <>
struct TypeOf<bool> : std::integral_constant<AttributeType, AttributeType::boolean> {};
template <>
struct TypeOf<Date> : std::integral_constant<AttributeType, AttributeType::date> {};
template <>
struct TypeOf<Payload> : std::integral_constant<AttributeType, AttributeType::payload> {};

template <typename Value>
struct Unwrapped {
    using Type = Value;
    static constexpr bool isOptional = false;
};
template <typename Value>
struct Unwrapped<std::optional<Value>> {
    using Type = Value;
    static constexpr bool isOptional = true;
};
template <>
struct Unwrapped<HeldPayload> : Unwrapped<std::optional<Payload>> {};

template <typename Member>
struct MemberOf;
template <typename Owner, typename Field>
struct MemberOf<Field Owner::*> {
    using Model = Owner;
    using Value = Field;
};

}  // namespace column

/// The description of one stored field, from its place in the class:
/// `attributeOf<&Thing::title_>("title")`.
template <auto member>
[[nodiscard]] AttributeDescription attributeOf(std::string_view name) {
    using Model = typename column::MemberOf<decltype(member)>::Model;
    using Value = typename column::MemberOf<decltype(member)>::Value;
    using Plain = column::Unwrapped<Value>;

    AttributeDescription description;
    description.name = name;
    description.type = column::TypeOf<typename Plain::Type>::value;
    description.isOptional = Plain::isOptional;
    description.write = [](const ModelObject& object, RowWriter& row, int at) {
        column::write(row, at, static_cast<const Model&>(object).*member);
    };
    description.read = [](ModelObject& object, RowReader& row, int at) {
        column::read(row, at, static_cast<Model&>(object).*member);
    };
    if constexpr (std::is_same_v<Value, Uuid>) {
        description.identifier = [](const ModelObject& object) {
            return static_cast<const Model&>(object).*member;
        };
    }
    if constexpr (std::is_same_v<Value, HeldPayload>) {
        description.storage = AttributeStorage::external;
        description.payload = [](const ModelObject& object) {
            return (static_cast<const Model&>(object).*member).value();
        };
    }
    return description;
}

}  // namespace kelto
