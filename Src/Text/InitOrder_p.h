#pragma once

/// \file
/// The order in which the static objects of the library are built while it loads; at unload they are
/// destroyed in the reverse order. Each value is used in one translation unit only, and no other object with
/// a run-time constructor stands at namespace scope: where priorities are equal or missing, the linker
/// chooses the order.

/// Defines the place of an object in the order: VYN_INIT(VYN_INIT_TRACE) CTraceSwitch traceSwitch;
#define VYN_INIT(priority) __attribute__((init_priority(priority)))

#define VYN_INIT_JAVA_WRAPPERS 1010            // mapWrapperJavaObjects: empty map, and its mutex
#define VYN_INIT_JAVA_CREATORS 1011            // mapCppWrapperObjectCreators: empty map
#define VYN_INIT_DLL_MAIN 1020                 // manageDll: sets VynhDllInstance
#define VYN_INIT_RESOURCE_HANDLE 1030          // _dhs: the library's handle becomes the current resource handle
#define VYN_INIT_RESOURCES 1040                // _hrd: the resource library or the library's own string table
#define VYN_INIT_VYNERR 1050                   // vynerr, which reads VYN_ERR_OUT
#define VYN_INIT_VYNOUT 1051                   // vynout
#define VYN_INIT_OPTION_FILES 1060             // COptionManager::m_mapOptionFiles: empty map
#define VYN_INIT_ARGV0 1070                    // pathVynAbsoluteArgv0: empty path
#define VYN_INIT_STYLE_KINDS 1080              // CStyle::m_listStyleKind: empty list
#define VYN_INIT_MARKERS 1090                  // SMapMarker::m_listMarkers: empty stack of sets
#define VYN_INIT_TRACE 1100                    // qzd_trace, which reads QZD_TRACE
#define VYN_INIT_URN_MAP 1110                  // g_URNMapHandler: the URN map, creates the user's directories
#define VYN_INIT_COMPOSITE_SCHEME 1111         // theCompositeScheme
#define VYN_INIT_FILE_SCHEME 1112              // defaultFileScheme
#define VYN_INIT_FILE_SCHEME_REGISTRATOR 1113  // defaultFileSchemeRegistrator: registers the file scheme
#define VYN_INIT_BASE64 1120                   // base64_chars: the alphabet
#define VYN_INIT_RESOURCE_MANAGER 1130         // CResourceManagerDestroyer: cleans up the handlers at exit
