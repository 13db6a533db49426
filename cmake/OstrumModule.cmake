# Modules of libOstrumFramework.
#
# A module is one folder under ostrum/ (its sources, its headers and a private/ subfolder for
# what hosts must not touch). ostrum/CMakeLists.txt declares every module once, from the bottom
# up, with the modules it may use: that table is the only place where a dependency is stated.
#
# Each module becomes one OBJECT library; the objects of all modules go into the one shared
# library. The build checks the table twice:
#   - at link time: every module also gets a small shared "layer check" library made of its
#     own objects and those of the modules it may use (directly or through them), linked with
#     --no-undefined, so a call into a module above or into one not declared fails to link;
#   - on every #include: the manifest written here (ostrum-modules.txt in the build tree) is
#     read by the test Layering.EveryIncludeNamesItsOwnModuleOrADeclaredOne, which fails for a
#     header of a module that is not declared, also from headers and inline code.

set(OSTRUM_MODULE_MANIFEST "${PROJECT_BINARY_DIR}/ostrum-modules.txt" CACHE INTERNAL "")

# ostrum_module(<name> <folder> [DEPS <module>...] [LIBS <target>...])
#   <folder>  the module's folder below ostrum/
#   DEPS      the modules whose headers and code this one may use; each must be declared above
#   LIBS      outside libraries the module uses (Eigen, Boost, ...)
function(ostrum_module name folder)
  cmake_parse_arguments(M "" "" "DEPS;LIBS" ${ARGN})
  set(dir ${CMAKE_CURRENT_SOURCE_DIR}/${folder})
  if(NOT IS_DIRECTORY ${dir})
    message(FATAL_ERROR "module ${name}: folder ostrum/${folder} does not exist")
  endif()
  foreach(dep IN LISTS M_DEPS)
    if(NOT TARGET ostrum_${dep})
      message(FATAL_ERROR "module ${name} may use '${dep}', which is not declared above it")
    endif()
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp ${dir}/private/*.cpp)
  if(NOT sources)
    # A module without sources yet still takes its place in the layering.
    set(sources ${CMAKE_CURRENT_BINARY_DIR}/ostrum_${name}_empty.cpp)
    file(WRITE ${sources} "// module ${name} has no sources yet\n")
  endif()

  set(target ostrum_${name})
  add_library(${target} OBJECT ${sources})
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE OSTRUM_FRAMEWORK_BUILDING)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:include>)
  target_link_libraries(${target} PUBLIC ${M_LIBS} PRIVATE ostrum_warnings)

  # What the layer check links: the module and everything below it that it may reach.
  set(closure ${name})
  set(libs ${M_LIBS})
  foreach(dep IN LISTS M_DEPS)
    target_link_libraries(${target} PUBLIC ostrum_${dep})
    get_property(dep_closure GLOBAL PROPERTY OSTRUM_CLOSURE_${dep})
    get_property(dep_libs GLOBAL PROPERTY OSTRUM_LIBS_${dep})
    list(APPEND closure ${dep_closure})
    list(APPEND libs ${dep_libs})
  endforeach()
  list(REMOVE_DUPLICATES closure)
  list(REMOVE_DUPLICATES libs)
  set_property(GLOBAL PROPERTY OSTRUM_CLOSURE_${name} ${closure})
  set_property(GLOBAL PROPERTY OSTRUM_LIBS_${name} ${libs})
  set_property(GLOBAL APPEND PROPERTY OSTRUM_ALL_LIBS ${M_LIBS})
  set_property(GLOBAL APPEND PROPERTY OSTRUM_MODULES ${name})

  set(objects "")
  foreach(mod IN LISTS closure)
    list(APPEND objects $<TARGET_OBJECTS:ostrum_${mod}>)
  endforeach()
  add_library(ostrum_layercheck_${name} SHARED ${objects})
  target_link_libraries(ostrum_layercheck_${name} PRIVATE ${libs})
  target_link_options(ostrum_layercheck_${name} PRIVATE -Wl,--no-undefined)

  # One manifest line per module: name, folder, then the modules it may use.
  string(REPLACE ";" " " deps_text "${M_DEPS}")
  file(APPEND ${OSTRUM_MODULE_MANIFEST} "${name} ${folder} ${deps_text}\n")
endfunction()

# Starts the manifest afresh; called once before the first module.
function(ostrum_begin_modules)
  file(WRITE ${OSTRUM_MODULE_MANIFEST} "# module folder may-use... (written by cmake/OstrumModule.cmake)\n")
endfunction()
