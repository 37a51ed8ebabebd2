# The package's description names a folder that isn't there, which CMake refuses in an imported target, and the library
# of its tools that records sound.
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
# The target that makes PocketSphinx's model of the name in the folder. A model of libvosk's may lie in the same folder:
# neither has a file of the other's.
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
