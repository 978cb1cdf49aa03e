kiv_add_bus_test(NAME least COMMAND my-test)
kiv_add_bus_test(NAME program COMMAND /bin/echo "two words" "a;b" --flag)
kiv_add_bus_test(NAME named COMMAND my-test SCENARIO stand-in SEED 0)
kiv_add_bus_test(NAME file COMMAND my-test SCENARIO scenarios/own.json)
kiv_add_bus_test(NAME to-be-made COMMAND my-test SCENARIO /nonexistent/made-later.json)
kiv_add_bus_test(NAME all
    COMMAND my-test -x
    SCENARIO ./scenarios/own.json
    MODES Radio,Bluetooth Rear=Video
    SEED 42
    TIMEOUT 5
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    LABELS bus slow)
