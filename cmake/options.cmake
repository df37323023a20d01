# Flags that every target of ours is built with: link brenholt_options.
add_library(brenholt_options INTERFACE)
target_include_directories(brenholt_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(brenholt_options INTERFACE -Wall -Wextra -Wpedantic)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A unique symbol would keep the module from ever being unloaded.
    target_compile_options(brenholt_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(BRENHOLT_WERROR)
    target_compile_options(brenholt_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(brenholt_options INTERFACE -Wthread-safety -Wreserved-identifier)
endif()
# Checked calls of the C library, and tables of functions that are read-only once loaded.
target_compile_options(brenholt_options INTERFACE
    "$<$<CONFIG:Release>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
target_link_options(brenholt_options INTERFACE "$<$<CONFIG:Release>:-Wl,-z,relro,-z,now>")
if(BRENHOLT_SANITIZE)
    target_compile_options(brenholt_options INTERFACE -fsanitize=${BRENHOLT_SANITIZE}
        -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(brenholt_options INTERFACE -fsanitize=${BRENHOLT_SANITIZE})
endif()
if(BRENHOLT_FUZZ)
    target_compile_options(brenholt_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# For the parts of the module whose time goes into waiting: every host has their pages resident.
function(brenholt_small target)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
endfunction()
