# Subsystem modules of libOstrumFramework.
#
# Every subsystem folder is one OBJECT library that links only the modules below it. The
# objects of all modules go into the one shared library. To make the build check the layering,
# each module also gets a small shared "layer check" library made of its own objects and those of
# its dependencies only, linked with --no-undefined: a module that calls into a module above it
# (or one it did not declare) fails to link there.


function(ostrum_add_module name)
  cmake_parse_arguments(M "" "" "SOURCES;DEPS;LIBS" ${ARGN})
  set(target ostrum_${name})
  if(NOT M_SOURCES)
    # A module whose folder has no source yet still takes its place in the layering.
    set(M_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/ostrum_${name}_empty.cpp)
    file(WRITE ${M_SOURCES} "// module ${name} has no sources yet\n")
  endif()
  add_library(${target} OBJECT ${M_SOURCES})
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE OSTRUM_FRAMEWORK_BUILDING)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:include>)
  target_link_libraries(${target} PUBLIC ${M_LIBS} PRIVATE ostrum_warnings)
  set(closure ${name})
  foreach(dep IN LISTS M_DEPS)
    target_link_libraries(${target} PUBLIC ostrum_${dep})
    get_property(dep_closure GLOBAL PROPERTY OSTRUM_CLOSURE_${dep})
    list(APPEND closure ${dep_closure})
  endforeach()
  list(REMOVE_DUPLICATES closure)
  set(libs ${M_LIBS})
  foreach(dep IN LISTS M_DEPS)
    get_property(dep_libs GLOBAL PROPERTY OSTRUM_LIBS_${dep})
    list(APPEND libs ${dep_libs})
  endforeach()
  list(REMOVE_DUPLICATES libs)
  set_property(GLOBAL PROPERTY OSTRUM_LIBS_${name} ${libs})
  set_property(GLOBAL APPEND PROPERTY OSTRUM_ALL_LIBS ${M_LIBS})
  set_property(GLOBAL PROPERTY OSTRUM_CLOSURE_${name} ${closure})
  set(objects "")
  foreach(mod IN LISTS closure)
    list(APPEND objects $<TARGET_OBJECTS:ostrum_${mod}>)
  endforeach()
  add_library(ostrum_layercheck_${name} SHARED ${objects})
  get_property(closure_libs GLOBAL PROPERTY OSTRUM_LIBS_${name})
  target_link_libraries(ostrum_layercheck_${name} PRIVATE ${closure_libs})
  target_link_options(ostrum_layercheck_${name} PRIVATE -Wl,--no-undefined)
  set_property(GLOBAL APPEND PROPERTY OSTRUM_MODULES ${name})
endfunction()

# ostrum_module_sources(VAR): the .cpp files of the calling folder (not of its subfolders).
macro(ostrum_module_sources var)
  file(GLOB ${var} CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
endmacro()
