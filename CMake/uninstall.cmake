# Removes what the last installation of a build tree wrote, by its manifest. DESTDIR has to be what it was then.
if(NOT EXISTS ${MANIFEST})
    message(FATAL_ERROR "Nothing was installed from here: there is no ${MANIFEST}")
endif()
file(STRINGS ${MANIFEST} installed)
foreach(path IN LISTS installed)
    file(REMOVE "$ENV{DESTDIR}${path}")
endforeach()
file(REMOVE ${MANIFEST})
