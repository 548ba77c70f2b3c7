# One library per subsystem keeps the layering visible to the linker and lets a
# change in one subsystem rebuild and test that subsystem alone.

# mokuza_core_module(<name> DEPS ...): src/<name>/*.{h,cpp,ui} without widgets.
function(mokuza_core_module name)
  cmake_parse_arguments(M "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp ${CMAKE_SOURCE_DIR}/src/${name}/*.h)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if(NOT sources)
    set(sources ${CMAKE_SOURCE_DIR}/cmake/empty.cpp)
  endif()
  add_library(mokuza_${name} STATIC ${sources})
  target_include_directories(mokuza_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(mokuza_${name} PUBLIC Qt6::Core ${M_DEPS})
  target_compile_definitions(mokuza_${name} PRIVATE QT_NO_CAST_FROM_ASCII)
  target_compile_options(mokuza_${name} PRIVATE -Wall -Wextra)
endfunction()

# mokuza_widgets_module(<name> DIR <dir> DEPS ...): the windows of a subsystem.
function(mokuza_widgets_module name)
  cmake_parse_arguments(M "" "DIR" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/${M_DIR}/*.cpp ${CMAKE_SOURCE_DIR}/${M_DIR}/*.h
    ${CMAKE_SOURCE_DIR}/${M_DIR}/*.ui)
  if(NOT sources)
    set(sources ${CMAKE_SOURCE_DIR}/cmake/empty.cpp)
  endif()
  add_library(mokuza_${name}_widgets STATIC ${sources})
  target_include_directories(mokuza_${name}_widgets PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(mokuza_${name}_widgets PUBLIC Qt6::Widgets ${M_DEPS})
  target_compile_definitions(mokuza_${name}_widgets PRIVATE QT_NO_CAST_FROM_ASCII)
  target_compile_options(mokuza_${name}_widgets PRIVATE -Wall -Wextra)
endfunction()

# mokuza_test_suite(<name> DEPS ...): tests/<name>/*.cpp as one GoogleTest binary.
function(mokuza_test_suite name)
  cmake_parse_arguments(M "" "" "DEPS;LABELS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/tests/${name}/*.cpp ${CMAKE_SOURCE_DIR}/tests/${name}/*.h)
  if(NOT sources)
    return()
  endif()
  add_executable(test_${name} ${sources})
  target_link_libraries(test_${name} PRIVATE mokuza_test_support ${M_DEPS})
  gtest_discover_tests(test_${name}
    DISCOVERY_MODE PRE_TEST
    NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${name}" TIMEOUT 1800
               ENVIRONMENT "MOKUZA_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
endfunction()
