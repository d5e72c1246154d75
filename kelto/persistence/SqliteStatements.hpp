#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kelto/persistence/Schema.hpp"

namespace kelto::sql {

// The statements of the store, made from the entity descriptions in one place. Identifiers come
// from the schema only, never from data.

/// A name of the schema, in quotation marks.
[[nodiscard]] std::string quoted(std::string_view identifier);

/// Everything that an empty store needs, in order.
[[nodiscard]] std::vector<std::string> createStore(const Schema& schema);

/// The table that remembers which rows were changed or deleted.
[[nodiscard]] std::string createChangeLog();
/// What fills it, whoever changes the rows of `table`. New rows are not noted: they are behind all
/// others, and a first import has many.
[[nodiscard]] std::vector<std::string> createChangeTriggers(std::string_view table);

/// id, attributes, then the columns of relationships; by id. Parameters: the first and last id.
[[nodiscard]] std::string selectRows(const EntityDescription& entity);
/// Parameters: id, attributes, then the columns of relationships.
[[nodiscard]] std::string insertRow(const EntityDescription& entity);
/// Parameters: attributes, then the columns of relationships, then id.
[[nodiscard]] std::string updateRow(const EntityDescription& entity);
/// Parameter: id.
[[nodiscard]] std::string deleteRow(const EntityDescription& entity);

/// The digests and sizes of the payloads that no row names, and whether their bytes lie in a file.
[[nodiscard]] std::string selectUnusedPayloads(const Schema& schema);

/// Removes the payload of the digest in parameter 0 if no row names it any more, and answers, if it
/// did so, whether the bytes lie in a file.
[[nodiscard]] std::string deleteUnusedPayload(const Schema& schema);

}  // namespace kelto::sql
