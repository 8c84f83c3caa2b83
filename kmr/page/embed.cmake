# Puts the parts of the page together, and into a source of the program:
#   cmake -DPARTS=FOLDER -DSCRIPTS=NAME,... -DLIBRARY=FOLDER -DLICENCE=FILE -DOUT=FILE -P embed.cmake
# LIBRARY is where dygraph.min.js and dygraph.min.css lie; without it the page draws no time line. LICENCE is what that
# comes under. The page allows no script and no style but its own, by their sums.
cmake_minimum_required(VERSION 3.16)

# A number of 256 bits as browsers want it: six bits a character.
function(to_base64 hex into)
    set(letters ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
    string(APPEND hex 00)
    set(text "")
    foreach(place RANGE 0 63 3)
        string(SUBSTRING ${hex} ${place} 3 digits)
        math(EXPR first "0x${digits} >> 6")
        math(EXPR second "0x${digits} & 63")
        string(SUBSTRING ${letters} ${first} 1 first)
        string(SUBSTRING ${letters} ${second} 1 second)
        string(APPEND text ${first}${second})
    endforeach()
    string(SUBSTRING ${text} 0 43 text)
    set(${into} ${text}= PARENT_SCOPE)
endfunction()

# add_element(TO NAME CONTENT): adds an element to what stands in TO, and its sum to NAME_sums.
function(add_element to name content)
    if(content MATCHES "</${name}")
        message(FATAL_ERROR "a ${name} of the page would end in the middle")
    endif()
    string(SHA256 sum "${content}")
    to_base64(${sum} sum)
    set(${to} "${${to}}<${name}>${content}</${name}>\n" PARENT_SCOPE)
    set(${name}_sums "${${name}_sums} 'sha256-${sum}'" PARENT_SCOPE)
endfunction()

function(read_part file into)
    file(READ ${file} text)
    set(${into} "${text}" PARENT_SCOPE)
endfunction()

function(append_bytes to name text)
    file(WRITE ${OUT}.part "${text}")
    file(READ ${OUT}.part bytes HEX)
    file(REMOVE ${OUT}.part)
    string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    set(${to} "${${to}}const unsigned char ${name}[] = {\n${bytes}};\n\n" PARENT_SCOPE)
endfunction()

set(styles "")
set(scripts "")
if(LIBRARY)
    read_part(${LIBRARY}/dygraph.min.css text)
    add_element(styles style "${text}")
    read_part(${LIBRARY}/dygraph.min.js text)
    add_element(scripts script "${text}")
endif()
read_part(${PARTS}/page.css text)
add_element(styles style "${text}")

set(script "(function () {\n'use strict';\n")
string(REPLACE "," ";" SCRIPTS "${SCRIPTS}")
foreach(name IN LISTS SCRIPTS)
    read_part(${PARTS}/${name} text)
    string(APPEND script "\n${text}")
endforeach()
string(APPEND script "})();\n")
add_element(scripts script "${script}")

read_part(${PARTS}/page.html page)
string(REPLACE "@script_sums@" "${script_sums}" page "${page}")
string(REPLACE "@style_sums@" "${style_sums}" page "${page}")
string(REPLACE "@styles@\n" "${styles}" page "${page}")
set(licence "")
if(LIBRARY AND LICENCE)
    file(READ ${LICENCE} licence)
    string(REPLACE "--" "- -" licence "${licence}") # two of them may end a comment
    set(licence "<!-- Dygraphs, which draws the time line:\n\n${licence}-->\n")
endif()
string(REPLACE "@licence@\n" "${licence}" page "${page}")
string(REPLACE "@scripts@\n" "${scripts}" page "${page}")
string(FIND "${page}" "@data@\n" place)
string(SUBSTRING "${page}" 0 ${place} head)
math(EXPR place "${place} + 7")
string(SUBSTRING "${page}" ${place} -1 tail)

set(arrays "")
append_bytes(arrays head "${head}")
append_bytes(arrays tail "${tail}")
if(LIBRARY)
    set(has_time_line true)
else()
    set(has_time_line false)
endif()
file(WRITE ${OUT} "// Made by embed.cmake.
#include \"kmr/page/page_text.hpp\"

namespace kmr::program {
namespace {

${arrays}} // namespace

std::string_view page_head() {
    return {reinterpret_cast<const char*>(head), sizeof head};
}

std::string_view page_tail() {
    return {reinterpret_cast<const char*>(tail), sizeof tail};
}

bool page_has_time_line() {
    return ${has_time_line};
}

} // namespace kmr::program
")
