# velu_room(NAME SOURCES file... [USES library...] [PRIVATELY library...])
# Adds the static library of one folder under src/. USES lists the libraries that the room's headers need, PRIVATELY
# those that only its sources need. Include paths start at src/, so that each include names its room.
function(velu_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;USES;PRIVATELY")
  add_library(velu_${name} STATIC ${room_SOURCES})
  target_include_directories(velu_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(velu_${name} PUBLIC ${room_USES} PRIVATE ${room_PRIVATELY})
endfunction()
