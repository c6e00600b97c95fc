# Build settings shared by every target of the project.

add_compile_options(-Wall -Wextra -Wno-unused-parameter)

if(HARVEL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()

if(HARVEL_TSAN)
    if(HARVEL_SANITIZE)
        message(FATAL_ERROR "ThreadSanitizer cannot be combined with AddressSanitizer")
    endif()
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
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

# harvel_add_machine_test(NAME SOURCES... [LIBS ...] [TIMEOUT s])
# A test of the plug-in in its world: installed into a virtual machine by the
# install script, with the net server library beside it, and run by the
# operator interface (hosted in the test, or harvel-hmi as a process). The
# test must not link the plug-in, which would put a second copy of its
# statics in front of the installed one's.
function(harvel_add_machine_test name)
    cmake_parse_arguments(M "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    if(NOT M_TIMEOUT)
        set(M_TIMEOUT 300)
    endif()
    harvel_add_qtest(${name} SOURCES ${M_SOURCES}
        LIBS hmiapp hmiplatform_machine ${CMAKE_DL_LIBS} ${M_LIBS} TIMEOUT ${M_TIMEOUT})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/net_link)
    target_compile_definitions(${name} PRIVATE HARVEL_INSTALL_SCRIPT="${PROJECT_SOURCE_DIR}/scripts/install.sh")
    add_dependencies(${name} siemensharvel)
    if(TARGET harvel-hmi)
        add_dependencies(${name} harvel-hmi)
    endif()
    if(TARGET ZynNetServer)
        add_dependencies(${name} ZynNetServer harvel_net_proto harvel-client)
    endif()
endfunction()
