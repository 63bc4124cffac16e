// The same with a getter that C++ has.
#include <VeskNvme.h>

#include <iostream>

int main() {
    ZT_API_Initialize();
    const unsigned count = ZT_Adapter_GetCount();
    std::cout << "controllers: " << count << '\n';
    UCHAR_ given = 0;
    CController controller = {};
    const UCHAR_ result = ZT_Adapter_GetInfo(0, &given, &controller);
    if (count != 0) {
        ZNV_Library_Finalize();
    }
    return result == ERR_NONE && given == 1 && controller.getFirmwareVersion().majorVersion == 1
               ? 0
               : 1;
}
