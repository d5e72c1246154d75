#pragma once

#include <string_view>

namespace kelto::ctl::pageTemplate {

// The files of the folder "page", put into the program when it is built.

extern const std::string_view html;    ///< with the places of the others marked as {{name}}
extern const std::string_view style;   ///< page.css
extern const std::string_view script;  ///< the .js files, one after the other

}  // namespace kelto::ctl::pageTemplate
