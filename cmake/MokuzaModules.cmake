# One library per subsystem keeps the layering visible to the linker and lets a
# change in one subsystem rebuild and test that subsystem alone.

# Precompiled headers: Qt's headers dominate every translation unit, and a cold
# build (CI, a new checkout) spends most of its time parsing them again.
set(MOKUZA_CORE_PCH <QByteArray> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList>
  <QObject> <QString> <QStringList> <QVariant> <functional> <memory> <optional> <vector>)
set(MOKUZA_WIDGETS_PCH ${MOKUZA_CORE_PCH} <QApplication> <QDialog> <QHBoxLayout> <QLabel>
  <QPushButton> <QVBoxLayout> <QWidget>)
set(MOKUZA_TEST_PCH ${MOKUZA_WIDGETS_PCH} <QTemporaryDir> <gtest/gtest.h>)

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
  target_precompile_headers(mokuza_${name} PRIVATE ${MOKUZA_CORE_PCH})
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
  target_precompile_headers(mokuza_${name}_widgets PRIVATE ${MOKUZA_WIDGETS_PCH})
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
  target_precompile_headers(test_${name} PRIVATE ${MOKUZA_TEST_PCH})
  gtest_discover_tests(test_${name}
    DISCOVERY_MODE PRE_TEST
    NO_PRETTY_VALUES
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${name}" TIMEOUT 1800
               ENVIRONMENT "MOKUZA_SOURCE_DIR=${CMAKE_SOURCE_DIR}")
endfunction()
