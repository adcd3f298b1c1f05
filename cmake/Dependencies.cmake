# Every dependency is a Debian package installed by scripts/setup.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(nlohmann_json 3.10 REQUIRED)
find_package(simdjson 3 REQUIRED)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
pkg_check_modules(URIPARSER REQUIRED IMPORTED_TARGET liburiparser)
pkg_check_modules(NETTLE REQUIRED IMPORTED_TARGET nettle)

# Standalone Asio is header-only and ships no CMake package.
find_path(ASIO_INCLUDE_DIR asio.hpp REQUIRED)
add_library(asio::asio INTERFACE IMPORTED)
target_include_directories(asio::asio INTERFACE ${ASIO_INCLUDE_DIR})
target_compile_definitions(asio::asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
# Asio 1.22 finds clang's coroutines only through the pre-standard <experimental/coroutine>; with
# libstdc++ clang has the standard header, which Asio uses once told that co_await is available.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_definitions(asio::asio INTERFACE ASIO_HAS_CO_AWAIT=1)
endif()

if(BRIND_TESTS)
  find_package(GTest REQUIRED)
endif()
if(BRIND_BENCH)
  find_package(benchmark REQUIRED)
endif()
