# What every target of the project is compiled with. Modules link lx_opciones and inherit it.
add_library(lx_opciones INTERFACE)
target_compile_features(lx_opciones INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# Includes are written from the root: "crypto/LxApi.h".
target_include_directories(lx_opciones INTERFACE ${PROJECT_SOURCE_DIR})

target_compile_options(lx_opciones INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wformat=2 -Wno-format-nonliteral
  # GCC 12 warns of overlaps inside its own std::string operator+ (GCC bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${VELMORA_WERROR}>:-Werror>
  -fstack-protector-strong -fstack-clash-protection -fcf-protection)
target_compile_definitions(lx_opciones INTERFACE
  _GLIBCXX_ASSERTIONS _FILE_OFFSET_BITS=64
  $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
target_link_options(lx_opciones INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
