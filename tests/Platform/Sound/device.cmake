tessivo_test(output_fifo_test SOURCES OutputFifoTest.cpp LINK tessivo_sound)

tessivo_test(pipewire_device_test
    SOURCES PipeWireDeviceTest.cpp PipeWireDeviceRestartTest.cpp
    LINK tessivo_sound tessivo_test_sound_server
    SERIAL TIMEOUT 60)
