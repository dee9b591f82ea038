# Compiler and linker options of the whole project. An option that some compilers lack is tested first.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

check_pie_supported()

add_library(velacreation_options INTERFACE)

function(add_flags_where_known)
    set(CMAKE_REQUIRED_FLAGS -Werror) # some compilers only warn about unknown flags
    foreach(flag ${ARGN})
        string(MAKE_C_IDENTIFIER "VELACREATION_HAS${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            target_compile_options(velacreation_options INTERFACE ${flag})
        endif()
    endforeach()
endfunction()

function(add_linker_flags_where_known)
    foreach(flag ${ARGN})
        string(MAKE_C_IDENTIFIER "VELACREATION_LINKER_HAS${flag}" known)
        check_linker_flag(CXX LINKER:${flag} ${known})
        if(${known})
            target_link_options(velacreation_options INTERFACE LINKER:${flag})
        endif()
    endforeach()
endfunction()

# For files of more than 2 GiB on 32-bit machines.
target_compile_definitions(velacreation_options INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(velacreation_options INTERFACE $<$<BOOL:${VELACREATION_WERROR}>:-Werror>)
add_flags_where_known(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# Builds in different directories must be identical.
check_cxx_compiler_flag(-ffile-prefix-map=.=. VELACREATION_HAS_FILE_PREFIX_MAP)
if(VELACREATION_HAS_FILE_PREFIX_MAP)
    target_compile_options(velacreation_options INTERFACE
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()

if(VELACREATION_SANITIZE)
    target_compile_options(velacreation_options INTERFACE
        -fsanitize=${VELACREATION_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(velacreation_options INTERFACE -fsanitize=${VELACREATION_SANITIZE})
    return()
endif()

add_flags_where_known(-fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
add_linker_flags_where_known(-z,relro -z,now -z,noexecstack -z,defs)

# Fortified functions need an optimising build. If the distribution or its compiler sets a level, it is kept.
set(CMAKE_REQUIRED_FLAGS -O2)
check_cxx_source_compiles("
    #ifdef _FORTIFY_SOURCE
    #error
    #endif
    int main() {}" VELACREATION_IS_UNFORTIFIED)
if(VELACREATION_IS_UNFORTIFIED)
    target_compile_definitions(velacreation_options INTERFACE
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
endif()
unset(CMAKE_REQUIRED_FLAGS)
