# Sources are collected by folder so that adding a class never means editing
# the build files. Classes that are widgets live in olvexui; everything else in
# a core folder goes to olvexcore, which cannot see QtWidgets.

set(OLVEX_CORE_FOLDERS session net script lua storage terminal)
set(OLVEX_UI_FOLDERS ui app)
# Widget classes that sit in core folders because they belong to that subsystem.
set(OLVEX_WIDGET_CLASSES TerminalWidget LuaScriptTab)

function(olvex_is_widget_source path out)
  get_filename_component(base ${path} NAME_WE)
  get_filename_component(dir ${path} DIRECTORY)
  get_filename_component(folder ${dir} NAME)
  if(base IN_LIST OLVEX_WIDGET_CLASSES OR folder IN_LIST OLVEX_UI_FOLDERS)
    set(${out} TRUE PARENT_SCOPE)
  else()
    set(${out} FALSE PARENT_SCOPE)
  endif()
endfunction()

function(olvex_collect_sources)
  foreach(folder ${OLVEX_CORE_FOLDERS} ${OLVEX_UI_FOLDERS})
    file(GLOB files CONFIGURE_DEPENDS
      ${CMAKE_SOURCE_DIR}/${folder}/*.cpp ${CMAKE_SOURCE_DIR}/${folder}/*.h)
    foreach(f ${files})
      get_filename_component(name ${f} NAME)
      if(name STREQUAL "main.cpp")
        continue()
      endif()
      olvex_is_widget_source(${f} widget)
      if(widget)
        target_sources(olvexui PRIVATE ${f})
      else()
        target_sources(olvexcore PRIVATE ${f})
      endif()
    endforeach()
  endforeach()
endfunction()

# One QtTest program per tests/<folder>/tst_<Class>.cpp. Tests of widget
# classes link olvexui, the rest only olvexcore.
function(olvex_add_tests)
  file(GLOB_RECURSE tests CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/*/tst_*.cpp)
  foreach(t ${tests})
    get_filename_component(name ${t} NAME_WE)
    string(REGEX REPLACE "^tst_" "" class ${name})
    get_filename_component(dir ${t} DIRECTORY)
    get_filename_component(folder ${dir} NAME)
    add_executable(${name} ${t})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    if(folder STREQUAL "tools")
      # The demo server's own classes; it shares no code with the client.
      target_link_libraries(${name} PRIVATE olvexdemo Qt6::Test)
    elseif(folder STREQUAL "e2e")
      # The whole client playing against the demo server in one process.
      target_link_libraries(${name} PRIVATE olvexui olvexdemo Qt6::Test)
    elseif(class IN_LIST OLVEX_WIDGET_CLASSES OR folder IN_LIST OLVEX_UI_FOLDERS)
      target_link_libraries(${name} PRIVATE olvexui Qt6::Test)
    else()
      target_link_libraries(${name} PRIVATE olvexcore Qt6::Test)
    endif()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
      ENVIRONMENT "QT_QPA_PLATFORM=offscreen;OLVEX_TEST_SOURCE_DIR=${CMAKE_SOURCE_DIR}"
      TIMEOUT 300)
  endforeach()
endfunction()

# bench/bench_*.cpp: one program each, linked against both libraries.
function(olvex_add_benchmarks)
  file(GLOB benches CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/bench/bench_*.cpp)
  foreach(b ${benches})
    get_filename_component(name ${b} NAME_WE)
    add_executable(${name} ${b})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/bench)
    target_link_libraries(${name} PRIVATE olvexui)
  endforeach()
  # The hostile server compresses its MCCP2 streams itself; without zlib's
  # headers it is left out of the default build (bench/run-reliability.sh
  # installs them).
  find_package(ZLIB QUIET)
  if(ZLIB_FOUND)
    target_link_libraries(bench_hostile_server PRIVATE ZLIB::ZLIB)
  else()
    set_target_properties(bench_hostile_server PROPERTIES EXCLUDE_FROM_ALL TRUE)
  endif()
endfunction()

# tests/fuzz/fuzz_*.cpp: libFuzzer targets, built with clang only.
function(olvex_add_fuzzers)
  file(GLOB fuzzers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/fuzz/fuzz_*.cpp)
  foreach(f ${fuzzers})
    get_filename_component(name ${f} NAME_WE)
    add_executable(${name} ${f})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE olvexcore)
  endforeach()
endfunction()
