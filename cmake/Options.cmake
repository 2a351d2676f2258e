# Compiler options for our own targets. Third-party headers come in as
# system includes through their imported targets, so they raise no warnings.
add_compile_options(-Wall -Wextra)
if(LOREHAVEN_WERROR)
  add_compile_options(-Werror)
endif()
if(LOREHAVEN_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# lorehaven_library(NAME SOURCES... [DEPS ...]): one subsystem library.
function(lorehaven_library name)
  cmake_parse_arguments(L "" "" "SOURCES;DEPS;PRIVATE_DEPS" ${ARGN})
  add_library(${name} STATIC ${L_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${L_DEPS} PRIVATE ${L_PRIVATE_DEPS})
endfunction()

# lorehaven_plugin(NAME SOURCES... [DEPS ...]): a subsystem library that joins
# the program by registering itself (ui/Subsystems.h, control tags, message
# handlers) rather than being called by the app. The app links every plugin
# whole, so that those registrations are kept; a test that wants one links
# it through lorehaven_whole_plugins().
function(lorehaven_plugin name)
  lorehaven_library(${name} ${ARGN})
  set_property(GLOBAL APPEND PROPERTY LOREHAVEN_PLUGINS ${name})
endfunction()

# Links every plugin registered so far into TARGET as whole archives.
function(lorehaven_whole_plugins target)
  get_property(plugins GLOBAL PROPERTY LOREHAVEN_PLUGINS)
  foreach(p ${plugins})
    target_link_libraries(${target} PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,${p}>")
  endforeach()
endfunction()
