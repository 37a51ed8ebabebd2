# ONNX Runtime's header: the system's, or what scripts/fetch-onnxruntime.sh has fetched where the system has none. The
# library itself is only looked for at run time. Without the header the program is built without eyes.
set(fetched ${PROJECT_SOURCE_DIR}/third_party/onnxruntime)
# A build folder notices when either comes or goes.
file(GLOB headers CONFIGURE_DEPENDS
  /usr/include/onnxruntime/onnxruntime_c_api.h ${fetched}/include/onnxruntime_c_api.h ${fetched}/lib/libonnxruntime.so.1)
find_path(ONNXRUNTIME_INCLUDE onnxruntime_c_api.h
  PATHS ${fetched}/include PATH_SUFFIXES onnxruntime NO_CACHE)
if(NOT ONNXRUNTIME_INCLUDE)
  message(STATUS "ONNX Runtime is missing: Velu will have no eyes (scripts/fetch-onnxruntime.sh fetches it)")
endif()

# velu_runtime_library()
# The target that lays the fetched library beside the program, where it is looked for first.
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
