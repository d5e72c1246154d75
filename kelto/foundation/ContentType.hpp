#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kelto {

/// A uniform type identifier such as "public.jpeg", with what is publicly known of it: what it
/// conforms to and its preferred file-name extension. An identifier that the table does not know is
/// still a type: it conforms to itself only and has no extension. Letter case does not matter.
class ContentType {
public:
    static constexpr std::string_view image = "public.image";
    static constexpr std::string_view movie = "public.movie";
    static constexpr std::string_view video = "public.video";
    static constexpr std::string_view audiovisualContent = "public.audiovisual-content";

    /// None for an empty identifier.
    [[nodiscard]] static std::optional<ContentType> fromIdentifier(std::string_view identifier);
    /// The type of files with this extension (no dot, any letter case); none when it is not known.
    [[nodiscard]] static std::optional<ContentType> fromFileExtension(std::string_view extension);

    /// In lower case, whatever it was made from.
    [[nodiscard]] const std::string& identifier() const { return identifier_; }
    /// Itself, or anything it is derived from, directly or not.
    [[nodiscard]] bool conformsTo(std::string_view identifier) const;
    /// Without a dot, for example "jpeg"; none for abstract and unknown types.
    [[nodiscard]] std::optional<std::string_view> preferredFileExtension() const;

    friend bool operator==(const ContentType&, const ContentType&) = default;

private:
    explicit ContentType(std::string identifier) : identifier_(std::move(identifier)) {}
    std::string identifier_;
};

}  // namespace kelto
