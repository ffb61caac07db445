# Flags every target shares: warnings are errors, sanitizers on request, no runtime DLLs beside the Windows files.
add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wimplicit-fallthrough
                    -Woverloaded-virtual -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 at -O2 sees overlaps in std::string::replace and operator+ that cannot happen (its bug 105329).
    add_compile_options(-Wno-restrict)
endif()
if(VXT_SANITIZE)
    add_compile_options(-fsanitize=${VXT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VXT_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-Wno-maybe-uninitialized)  # instrumented code confuses it (documented with -fsanitize)
    endif()
endif()
if(WIN32)
    add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
    add_compile_options(-mms-bitfields)
    # Debug information stays in the object files: nine tenths of a program's size would be it, and every start under Wine
    # reads the whole.
    add_link_options(-static -Wl,--strip-debug)
endif()
