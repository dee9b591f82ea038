# How everything of this project is compiled and linked: warnings, hidden visibility, hardening, sanitizers.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

include(CheckPIESupported)
check_pie_supported()

add_library(velacreation_options INTERFACE)
# Clone images and updates of more than 2 GiB, on 32-bit machines too.
target_compile_definitions(velacreation_options INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(velacreation_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${VELACREATION_WERROR}>:-Werror>)
if(VELACREATION_SANITIZE)
    target_compile_options(velacreation_options INTERFACE
        -fsanitize=${VELACREATION_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(velacreation_options INTERFACE -fsanitize=${VELACREATION_SANITIZE})
else()
    # The fortified functions need an optimising build.
    target_compile_options(velacreation_options INTERFACE
        -fstack-protector-strong -fstack-clash-protection -fcf-protection
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(velacreation_options INTERFACE
        LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:-z,defs)
endif()
