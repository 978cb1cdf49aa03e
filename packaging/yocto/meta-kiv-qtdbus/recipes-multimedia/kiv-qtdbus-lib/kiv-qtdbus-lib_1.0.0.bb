# SPDX-License-Identifier: MIT
SUMMARY = "Qt client library for a device's audio management service"
DESCRIPTION = "Through this library programs talk to the device's audio management service over the D-Bus system bus."
SECTION = "libs"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=fd0c00ced077d1c39e81d42419959c63"

DEPENDS = "qtbase qtbase-native cjson"

# Nothing is fetched: the source is the tree that the layer is part of.
SRC_URI = "file://run-ptest"
EXTERNALSRC = "${KIV_QTDBUS_LIB_SOURCE}"

inherit cmake_qt5 pkgconfig externalsrc bash-completion ptest

EXTRA_OECMAKE = " \
    -DKIV_ZSH_COMPLETIONS=share/zsh/site-functions \
    -DCMAKE_SKIP_RPATH=ON \
"

PACKAGECONFIG ??= "tools models ${@bb.utils.contains('PTEST_ENABLED', '1', 'tests', '', d)}"
PACKAGECONFIG[tools] = "-DKIV_BUILD_TOOLS=ON,-DKIV_BUILD_TOOLS=OFF,dbus rapidjson"
PACKAGECONFIG[models] = "-DKIV_BUILD_MODELS=ON,-DKIV_BUILD_MODELS=OFF"
PACKAGECONFIG[qml] = "-DKIV_BUILD_QML=ON -DKIV_QML_FOLDER=${OE_QMAKE_PATH_QML},-DKIV_BUILD_QML=OFF,qtdeclarative"
PACKAGECONFIG[screens] = "-DKIV_BUILD_EXAMPLES=ON -DKIV_BUILD_SCREENS=ON,-DKIV_BUILD_EXAMPLES=OFF -DKIV_BUILD_SCREENS=OFF,qtdeclarative qtmultimedia qtquickcontrols2 qttools qttools-native"
PACKAGECONFIG[tests] = "-DKIV_BUILD_TESTS=ON,-DKIV_BUILD_TESTS=OFF"

PACKAGE_BEFORE_PN = "${PN}-models ${PN}-qml ${PN}-examples ${PN}-tools"
FILES:${PN}-models = "${libdir}/libkiv-audio-models.so.*"
FILES:${PN}-qml = "${OE_QMAKE_PATH_QML}/Kiv"
FILES:${PN}-examples = " \
    ${bindir}/kiv-audio-demo \
    ${libexecdir}/kiv-audio-examples \
"
FILES:${PN}-tools = " \
    ${bindir}/* \
    ${datadir}/kiv-qtdbus-lib \
    ${datadir}/zsh \
    ${datadir}/dbus-1/interfaces/com.kiv.AudioSimulator.Control.xml \
"
FILES:${PN}-dev += " \
    ${datadir}/dbus-1/interfaces/com.quorvantel.ServiceProvider.xml \
    ${datadir}/kiv-qtdbus-lib/schemas/protocol.schema.json \
"
RDEPENDS:${PN}-tools = "dbus"
RDEPENDS:${PN}-examples = "bash ${PN}-qml ${PN}-tools qtdeclarative-qmlplugins qtquickcontrols2-qmlplugins"
RRECOMMENDS:${PN}-examples = "qtmultimedia-plugins"
RDEPENDS:${PN}-ptest = "dbus ${@bb.utils.contains('PACKAGECONFIG', 'tools', '${PN}-tools', '', d)}"

# The CMake component Testing looks for the simulator when other recipes ask for it.
SYSROOT_DIRS += "${bindir}"

# The test programs that need nothing of the source tree; each starts its own private bus.
KIV_PTESTS = " \
    unit/tst_FocusEvents \
    unit/tst_FocusRequests \
    unit/tst_InboundCalls \
    unit/tst_JsonParameterParser \
    unit/tst_KivBaseClient \
    unit/tst_LogGuard \
    unit/tst_ModeEvents \
    unit/tst_ModeQueries \
    unit/tst_ModeSetting \
    unit/tst_RequestMachinery \
    unit/tst_Sessions \
    unit/tst_StreamRegistration \
    bus/tst_AdaptorConnection \
    bus/tst_AppLife \
    bus/tst_AppThreads \
    bus/tst_HmiLife \
    bus/tst_HmiThreads \
    bus/tst_Initialisation \
    bus/tst_ServiceInterface \
    bus/tst_ServiceProviderProxy \
    bus/tst_ServiceRegistrator \
    bus/tst_Session \
    bus/tst_Threads \
"

do_install_ptest() {
    if ${@bb.utils.contains('PACKAGECONFIG', 'tests', 'true', 'false', d)}; then
        install -d ${D}${PTEST_PATH}/unit ${D}${PTEST_PATH}/bus
        for program in ${KIV_PTESTS}; do
            install -m 0755 ${B}/tests/$program ${D}${PTEST_PATH}/$program
        done
    fi
}
