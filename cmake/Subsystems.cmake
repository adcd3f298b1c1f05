set(BRIND_SUBSYSTEM_TARGETS "" CACHE INTERNAL "")

# brind_target_name(island OUT) -> BrindKitIsland
function(brind_target_name folder out)
  string(SUBSTRING ${folder} 0 1 first)
  string(TOUPPER ${first} first)
  string(SUBSTRING ${folder} 1 -1 rest)
  if(folder STREQUAL "sdk")
    set(${out} BrindKitSDK PARENT_SCOPE)
  else()
    set(${out} BrindKit${first}${rest} PARENT_SCOPE)
  endif()
endfunction()

# brind_subsystem(folder [dependency folders...]): every .cpp below BrindKit/<folder>/, except the
# SDK bridge, which is a library of its own (see CMakeLists.txt).
function(brind_subsystem folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/BrindKit/${folder}/*.cpp)
  list(FILTER sources EXCLUDE REGEX ".*/SDKBridge[^/]*\\.cpp$")
  if(NOT sources)
    return()
  endif()
  brind_target_name(${folder} target)
  add_library(${target} STATIC ${sources})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC
    asio::asio nlohmann_json::nlohmann_json
    PkgConfig::ICU PkgConfig::NETTLE Threads::Threads ${CMAKE_DL_LIBS})
  # uriparser is opened on demand (URL.cpp): its declarations only.
  target_include_directories(${target} PUBLIC $<TARGET_PROPERTY:PkgConfig::URIPARSER,INTERFACE_INCLUDE_DIRECTORIES>)
  foreach(dependency ${ARGN})
    brind_target_name(${dependency} dependencyTarget)
    if(TARGET ${dependencyTarget})
      target_link_libraries(${target} PUBLIC ${dependencyTarget})
    endif()
  endforeach()
  # A section per function and object, so that a program linking only part of a subsystem (the
  # `vantaquill` command) can leave the rest out (--gc-sections): less to map and to relocate.
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  brind_warnings(${target})
  set(BRIND_SUBSYSTEM_TARGETS ${BRIND_SUBSYSTEM_TARGETS} ${target} CACHE INTERNAL "")
endfunction()
