# Writes the page's files into a C++ source: cmake -DOUT=… -DHTML=… -DSTYLE=… -DSCRIPTS=a.js,b.js -P
# Their texts stand in raw string literals, one for each file: a compiler need not take longer ones.
function(literal out file)
    file(READ "${file}" text)
    if(text MATCHES "[)]kelto\"" OR text MATCHES "\r")
        message(FATAL_ERROR "${file} holds what cannot be embedded")
    endif()
    set(${out} "R\"kelto(${text})kelto\"\n" PARENT_SCOPE)
endfunction()

literal(html "${HTML}")
literal(style "${STYLE}")
string(REPLACE "," ";" files "${SCRIPTS}")
set(script "")
foreach(file IN LISTS files)
    literal(text "${file}")
    string(APPEND script "${text}")
endforeach()

file(WRITE "${OUT}" "// Made of the files of tools/keltoctl/page; change those.
#include \"tools/keltoctl/PageTemplate.hpp\"

namespace kelto::ctl::pageTemplate {

constinit const std::string_view html =
${html};
constinit const std::string_view style =
${style};
constinit const std::string_view script =
${script};

}  // namespace kelto::ctl::pageTemplate
")
