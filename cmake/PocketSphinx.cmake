# This isn't an imported target because the package's pkg-config file names a folder that doesn't exist, which CMake
# rejects, and the sound recording library, which Velu doesn't need.
pkg_check_modules(POCKETSPHINX REQUIRED pocketsphinx)
pkg_get_variable(POCKETSPHINX_MODELS pocketsphinx modeldir)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
list(REMOVE_ITEM POCKETSPHINX_LIBRARIES sphinxad)
set(pocketsphinx_folders ${POCKETSPHINX_INCLUDE_DIRS})
list(REMOVE_ITEM pocketsphinx_folders /usr/include/sphinxbase)
add_library(PocketSphinx INTERFACE)
target_include_directories(PocketSphinx SYSTEM INTERFACE ${pocketsphinx_folders})
target_link_libraries(PocketSphinx INTERFACE ${POCKETSPHINX_LIBRARIES})

# velu_wake_model(TARGET FOLDER folder)
# Adds a target that generates PocketSphinx's wake-word model in the folder. libvosk's model may be in the same folder;
# the two have no file name in common.
function(velu_wake_model target)
  cmake_parse_arguments(PARSE_ARGV 1 model "" "FOLDER" "")
  set(packaged ${POCKETSPHINX_MODELS}/en-us)
  set(script ${PROJECT_SOURCE_DIR}/scripts/make-wake-model.py)
  add_custom_command(OUTPUT ${model_FOLDER}/wake.lm
    COMMAND ${Python3_EXECUTABLE} ${script} ${packaged} ${model_FOLDER}
    DEPENDS ${script} ${packaged}/en-us.lm.bin ${packaged}/cmudict-en-us.dict
    COMMENT "Wake word model"
    VERBATIM)
  add_custom_target(${target} DEPENDS ${model_FOLDER}/wake.lm)
endfunction()
