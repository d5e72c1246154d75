#pragma once

#include <string>
#include <string_view>

#include "kelto/model/ThingKind.hpp"

namespace kelto {

/// The texts under which a person sees an item, made from its fields: a stored thing has them, and
/// so has a host that holds records only. The fields are borrowed.
struct ShownTexts {
    ThingKind kind;
    std::string_view title;
    std::string_view subtitle;
    std::string_view content;
    std::string_view urlString;
    std::string_view fileName;
    std::string_view typeIdentifier;

    /// The extension of the file name, else the preferred one of the content type, else "".
    [[nodiscard]] std::string fileExtension() const;
    [[nodiscard]] std::string displayTitle() const;  ///< What a person sees as the item's name.
    [[nodiscard]] std::string badgeText() const;     ///< A short upper-case label: "PNG", "URL".
    /// The name its file is written out under; not safe as a file name as it stands.
    [[nodiscard]] std::string exportFileName() const;
};

}  // namespace kelto
