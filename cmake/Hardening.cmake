# Optimised builds are hardened as Debian's packages are.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
# Undefined first: a packager's flags may define it, too.
add_compile_options("$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3;-fstack-protector-strong>")
# Those of them that the compiler knows for this processor; clang only warns of others.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER QUARNET_HAS${flag} known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options($<${optimised}:${flag}>)
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)
add_link_options($<${optimised}:LINKER:-z,relro,-z,now>)
