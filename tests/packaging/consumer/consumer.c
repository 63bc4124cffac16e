/* Prints what a host without a controller has: nothing is set up, so no device is touched. */
#include <VeskNvme.h>

#include <stdio.h>

int main(void) {
    PD_OEM_Data* nothing = NULL;
    printf("controllers: %u\n", (unsigned)ZT_Adapter_GetCount());
    return ZT_PD_OEMData(0, nothing) == ERR_NULL_ARGUMENT ? 0 : 1;
}
