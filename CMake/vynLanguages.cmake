# vyn_add_language(<target> <language> <source> [<folder>]): adds a language to the messages of a tool.
#
# The source defines the table `vynMessages` of VynToolMessages.h. Language "en" comes first and goes into the target
# itself; any other one becomes <folder>/<language>/<target>.so beside the target, is compared with the English table
# while it is built, and is installed under the same name beside the folder of the target, CMAKE_INSTALL_BINDIR or, for
# a library, CMAKE_INSTALL_LIBDIR. The folder is what the constructor of VynToolMessages has, `locale` when it isn't
# given.
set(VYN_LANGUAGE_CHECK ${CMAKE_CURRENT_LIST_DIR}/CheckLanguage.cpp CACHE INTERNAL "")

function(vyn_add_language target language source)
    get_filename_component(source ${source} ABSOLUTE)
    if(language STREQUAL "en")
        target_sources(${target} PRIVATE ${source})
        set_target_properties(${target} PROPERTIES VYN_ENGLISH ${source})
        return()
    endif()
    get_target_property(english ${target} VYN_ENGLISH)
    if(NOT english)
        message(FATAL_ERROR "vyn_add_language: ${target} has no language en yet, with which ${language} is compared")
    endif()
    set(folder locale)
    if(ARGC GREATER 3)
        set(folder ${ARGV3})
    endif()
    # Nothing but a table, so that it needs no library.
    set(library ${target}_${language})
    add_library(${library} MODULE ${source})
    target_compile_features(${library} PRIVATE cxx_std_17)
    target_compile_definitions(${library} PRIVATE VYN_LANGUAGE)
    target_include_directories(${library} PRIVATE $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
    set_target_properties(${library} PROPERTIES PREFIX "" OUTPUT_NAME ${target} SUFFIX .so
        LIBRARY_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:${target}>/${folder}/${language})
    get_target_property(type ${target} TYPE)
    set(installed "${CMAKE_INSTALL_LIBDIR}")
    if(type STREQUAL "EXECUTABLE")
        set(installed "${CMAKE_INSTALL_BINDIR}")
    endif()
    if(installed STREQUAL "")
        set(installed bin)  # any folder just below the prefix
    endif()
    cmake_path(SET installed NORMALIZE ${installed}/../${folder}/${language})
    install(TARGETS ${library} LIBRARY DESTINATION ${installed})
    if(CMAKE_CROSSCOMPILING)
        add_dependencies(${target} ${library})
        return()
    endif()
    set(check ${target}_check_language)
    if(NOT TARGET ${check})
        add_executable(${check} EXCLUDE_FROM_ALL ${VYN_LANGUAGE_CHECK} ${english})
        target_include_directories(${check} PRIVATE $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
        target_link_libraries(${check} PRIVATE vyn::vyn ${CMAKE_DL_LIBS})
    endif()
    # Again when either text has changed. The library would make directories below HOME and ZROOT.
    set(checked ${CMAKE_CURRENT_BINARY_DIR}/${library}.checked)
    add_custom_command(OUTPUT ${checked} DEPENDS ${check} ${library} VERBATIM
        COMMAND ${CMAKE_COMMAND} -E env --unset=HOME --unset=ZROOT
            --modify LD_LIBRARY_PATH=path_list_prepend:$<TARGET_FILE_DIR:vyn::vyn>
            $<TARGET_FILE:${check}> $<TARGET_FILE:${library}>
        COMMAND ${CMAKE_COMMAND} -E touch ${checked})
    add_custom_target(${library}_checked DEPENDS ${checked})
    add_dependencies(${target} ${library}_checked)
endfunction()
