#ifndef HOST_TESTS_LIBMODBUS_MASTER_H
#define HOST_TESTS_LIBMODBUS_MASTER_H

#include <modbus/modbus.h>
#include <string>

// A libmodbus RTU master on a device path, for checking the simulated line with
// a Modbus stack that is not ours.
class LibmodbusMaster {
public:
    explicit LibmodbusMaster(const std::string& device, int timeoutMs = 200)
        : ctx(modbus_new_rtu(device.c_str(), 9600, 'N', 8, 1))
    {
        if (ctx == nullptr)
            return;
        modbus_set_response_timeout(ctx, 0, static_cast<uint32_t>(timeoutMs) * 1000);
        connected = modbus_connect(ctx) == 0;
    }
    ~LibmodbusMaster()
    {
        if (ctx == nullptr)
            return;
        if (connected)
            modbus_close(ctx);
        modbus_free(ctx);
    }
    LibmodbusMaster(const LibmodbusMaster&) = delete;
    LibmodbusMaster& operator=(const LibmodbusMaster&) = delete;

    bool ok() const { return ctx != nullptr && connected; }
    modbus_t* station(int id)
    {
        modbus_set_slave(ctx, id);
        return ctx;
    }

private:
    modbus_t* ctx;
    bool connected = false;
};

#endif
