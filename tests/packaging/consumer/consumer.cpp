// The same with the getters that C++ has.
#include <VeskNvme.h>

#include <iostream>

int main() {
    CController controller = {};
    std::cout << "controllers: " << static_cast<unsigned>(ZT_Adapter_GetCount()) << '\n';
    return controller.getFirmwareVersion().majorVersion == 0 ? 0 : 1;
}
