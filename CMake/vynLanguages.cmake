# vyn_add_language(<target> <language> <source>): adds a language to the messages of a tool.
#
# The source defines the table `vynMessages` of VynToolMessages.h. Language "en" comes first and goes into the target
# itself; any other one becomes locale/<language>/<target>.so beside the target, is compared with the English table
# while it is built, and is installed as locale/<language>/<target>.so.
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
    get_target_property(directory ${target} RUNTIME_OUTPUT_DIRECTORY)
    if(NOT directory)
        set(directory ${CMAKE_CURRENT_BINARY_DIR})
    endif()
    # Nothing but a table, so that it needs no library.
    set(library ${target}_${language})
    add_library(${library} MODULE ${source})
    target_compile_features(${library} PRIVATE cxx_std_17)
    target_compile_definitions(${library} PRIVATE VYN_LANGUAGE)
    target_include_directories(${library} PRIVATE $<TARGET_PROPERTY:vyn::vyn,INTERFACE_INCLUDE_DIRECTORIES>)
    set_target_properties(${library} PROPERTIES PREFIX "" OUTPUT_NAME ${target} SUFFIX .so
        LIBRARY_OUTPUT_DIRECTORY ${directory}/locale/${language})
    add_dependencies(${target} ${library})
    install(TARGETS ${library} LIBRARY DESTINATION locale/${language})
    if(CMAKE_CROSSCOMPILING)
        return()
    endif()
    set(check ${target}_check_language)
    if(NOT TARGET ${check})
        add_executable(${check} EXCLUDE_FROM_ALL ${VYN_LANGUAGE_CHECK} ${english})
        target_link_libraries(${check} PRIVATE vyn::vyn ${CMAKE_DL_LIBS})
    endif()
    add_dependencies(${library} ${check})
    # The library makes directories below these two.
    add_custom_command(TARGET ${library} POST_BUILD VERBATIM COMMAND ${CMAKE_COMMAND} -E env --unset=HOME --unset=ZROOT
        $<TARGET_FILE:${check}> $<TARGET_FILE:${library}>)
endfunction()
