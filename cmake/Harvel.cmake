# Build settings shared by every target of the project.

add_compile_options(-Wall -Wextra -Wno-unused-parameter)

if(HARVEL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()

# harvel_add_qtest(NAME SOURCES... [LIBS ...] [LABELS ...] [TIMEOUT s])
# One QtTest executable registered with CTest. Tests run offscreen so they
# need no display; a test that wants a real window sets its own platform.
function(harvel_add_qtest name)
    cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${T_SOURCES} ${T_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE Qt5::Test ${T_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    if(NOT T_TIMEOUT)
        set(T_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${T_TIMEOUT}
        LABELS "${T_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;HARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};HARVEL_BINARY_DIR=${PROJECT_BINARY_DIR}")
endfunction()
