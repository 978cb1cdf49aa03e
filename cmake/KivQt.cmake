# Which Qt this project is built with, and the names and places that follow from it: what is installed for Qt 5 and
# what is installed for Qt 6 share no file, so both can be installed side by side.
set(KIV_QT_MAJOR 5 CACHE STRING "The major version of Qt to build with: 5 or 6")
set_property(CACHE KIV_QT_MAJOR PROPERTY STRINGS 5 6)

set(KIV_QT Qt${KIV_QT_MAJOR})
if(KIV_QT_MAJOR STREQUAL "5")
    set(KIV_QT_VERSION 5.15)
    set(KIV_PACKAGE kiv-qtdbus-lib)
    set(KIV_MODELS_PACKAGE kiv-audio-models)
    set(KIV_PROGRAM_FOLDER ${CMAKE_INSTALL_BINDIR})
    set(KIV_DOCUMENT_FOLDER ${CMAKE_INSTALL_DOCDIR})
    set(KIV_COMMON_DEFAULT ON)
elseif(KIV_QT_MAJOR STREQUAL "6")
    set(KIV_QT_VERSION 6.4)
    set(KIV_PACKAGE kiv-qtdbus-lib-qt6)
    set(KIV_MODELS_PACKAGE kiv-audio-models-qt6)
    set(KIV_PROGRAM_FOLDER ${CMAKE_INSTALL_LIBDIR}/${KIV_PACKAGE}/bin) # the commands are those of Qt 5's package
    set(KIV_DOCUMENT_FOLDER ${CMAKE_INSTALL_DOCDIR}-qt6)
    set(KIV_COMMON_DEFAULT OFF)
else()
    message(FATAL_ERROR "KIV_QT_MAJOR is \"${KIV_QT_MAJOR}\": expected 5 or 6.")
endif()
option(KIV_INSTALL_COMMON
    "Install what is the same for Qt 5 and 6: manual pages, completions, descriptions of the D-Bus interfaces"
    ${KIV_COMMON_DEFAULT})
