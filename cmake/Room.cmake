# velu_room(NAME SOURCES file... [USES library...] [PRIVATELY library...])
# One static library for each folder under src/. USES is what the room's headers need, PRIVATELY what only its
# sources need. Include paths start at src/, so that an include says which room it comes from.
function(velu_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;USES;PRIVATELY")
  add_library(velu_${name} STATIC ${room_SOURCES})
  target_include_directories(velu_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(velu_${name} PUBLIC ${room_USES} PRIVATE ${room_PRIVATELY})
endfunction()
