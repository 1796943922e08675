tessivo_test(output_fifo_test SOURCES OutputFifoTest.cpp LINK tessivo_sound)

tessivo_test(pipewire_device_test
    SOURCES PipeWireDeviceTest.cpp PipeWireDeviceRestartTest.cpp
    LINK tessivo_sound tessivo_test_sound_server
    SERIAL TIMEOUT 60)

# While a graph changes its rate, the client library maps buffers on one thread and uses them
# on another, in an order that the race detector cannot see.
if(NOT TESSIVO_SANITIZER STREQUAL "thread")
    tessivo_test(pipewire_rate_change_test
        SOURCES PipeWireRateChangeTest.cpp
        LINK tessivo_sound tessivo_test_sound_server
        SERIAL TIMEOUT 60)
endif()
