# Finds ONNX Runtime's header: the system's, or the one that scripts/fetch-onnxruntime.sh has downloaded. The program
# loads the library at run time. Without the header the program is built without eyes.
set(fetched ${PROJECT_SOURCE_DIR}/third_party/onnxruntime)
# CONFIGURE_DEPENDS makes the build configure again when one of these files appears or disappears.
file(GLOB headers CONFIGURE_DEPENDS
  /usr/include/onnxruntime/onnxruntime_c_api.h ${fetched}/include/onnxruntime_c_api.h ${fetched}/lib/libonnxruntime.so.1)
find_path(ONNXRUNTIME_INCLUDE onnxruntime_c_api.h
  PATHS ${fetched}/include PATH_SUFFIXES onnxruntime NO_CACHE)
if(NOT ONNXRUNTIME_INCLUDE)
  message(STATUS "ONNX Runtime is missing: Velu will have no eyes (scripts/fetch-onnxruntime.sh downloads it)")
endif()

# velu_runtime_library()
# Adds a target that copies the downloaded library beside the program, where the program looks first.
function(velu_runtime_library)
  add_custom_target(velu_runtime_library ALL)
  set(library ${PROJECT_SOURCE_DIR}/third_party/onnxruntime/lib/libonnxruntime.so.1)
  if(ONNXRUNTIME_INCLUDE AND EXISTS ${library})
    set(beside ${CMAKE_BINARY_DIR}/libonnxruntime.so.1)
    add_custom_command(OUTPUT ${beside}
      COMMAND ${CMAKE_COMMAND} -E copy ${library} ${beside}
      DEPENDS ${library}
      COMMENT "ONNX Runtime"
      VERBATIM)
    add_custom_target(velu_runtime_copy DEPENDS ${beside})
    add_dependencies(velu_runtime_library velu_runtime_copy)
  endif()
endfunction()
