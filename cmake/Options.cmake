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
