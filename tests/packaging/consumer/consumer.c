/* Sets the library up, asks it, and tears it down. */
#include <VeskNvme.h>

#include <stdio.h>

int main(void) {
    ZT_API_Initialize();
    const unsigned count = ZT_Adapter_GetCount();
    printf("controllers: %u\n", count);
    if (count != 0) {
        ZNV_Library_Finalize();
    }
    return ZT_PD_OEMData(0, NULL) == ERR_NULL_ARGUMENT ? 0 : 1;
}
