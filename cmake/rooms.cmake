# One folder is one room is one library; a room links only what lies below it.
# vxt_room(NAME FOLDER [rooms below ...]) compiles every .cpp directly inside FOLDER; a room of headers alone is fine.
function(vxt_room NAME FOLDER)
    file(GLOB SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${FOLDER}/*.cpp)
    if(SOURCES)
        add_library(${NAME} STATIC ${SOURCES})
        set(SCOPE PUBLIC)
    else()
        add_library(${NAME} INTERFACE)
        set(SCOPE INTERFACE)
    endif()
    target_include_directories(${NAME} ${SCOPE} ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/include)
    target_link_libraries(${NAME} ${SCOPE} ${ARGN})
endfunction()
