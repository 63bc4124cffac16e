/* Prints controller, disks with their wear, and volumes: the whole life of the library in C.
 *   cc inventory.c -lVeskNvme -o inventory
 * Ends with 0, or with 3 where there is no controller. */
#include <VeskNvme.h>

#include <stdio.h>
#include <string.h>

/* Disks of either kind that there can be. */
#define MOST_DISKS 2

/* The header and the room behind it, into which the library packs its records. */
struct disk_answer {
    Info_Request header;
    PD_Info disk[MOST_DISKS];
};

struct volume_answer {
    Info_Request header;
    VD_Info volume[MOST_DISKS];
};

/* A number of the record: its place is fixed to the byte, its alignment is not promised. */
static unsigned short_at(const CController* controller, int offset) {
    USHORT_INT value;
    memcpy(&value, &controller->bytes[offset], sizeof(value));
    return value;
}

/* Texts come as the device pads them: their length without the blanks at the end. */
static int length(const char* text) {
    int end = (int)strlen(text);
    while (end > 0 && text[end - 1] == ' ') {
        --end;
    }
    return end;
}

static void print_controller(void) {
    CController controller;
    UCHAR_ count = 0;

    if (ZT_Adapter_GetInfo(0, &count, &controller) != ERR_NONE) {
        return; /* the pointer was null: cannot be here */
    }
    /* A command that fails leaves zeros and result 0: this is how it shows. */
    if (short_at(&controller, CCONTROLLER_VENDOR_ID) == 0) {
        printf("controller: does not answer\n");
        return;
    }
    printf("controller: %04x:%04x, firmware %u.%u.%u.%u\n",
           short_at(&controller, CCONTROLLER_VENDOR_ID),
           short_at(&controller, CCONTROLLER_DEVICE_ID),
           short_at(&controller, CCONTROLLER_FIRMWARE_VERSION),
           short_at(&controller, CCONTROLLER_FIRMWARE_VERSION + 2),
           short_at(&controller, CCONTROLLER_FIRMWARE_VERSION + 4),
           short_at(&controller, CCONTROLLER_FIRMWARE_VERSION + 6));
}

static void print_health(UCHAR_ id) {
    SMART_INFO_ARRAY health;

    memset(&health, 0, sizeof(health)); /* an absent disk leaves the record as it was */
    ZT_PD_GET_SMART_INFO(0, id, 0, &health);
    if (health.smartStatus == 0) {
        printf("  health unknown\n");
        return;
    }
    printf("  %s, %u %% of the rated life used, spare %u %% (threshold %u %%)\n",
           health.smartStatus == 1 ? "ALERT" : "ok", health.attributes[0].currentValue,
           health.attributes[1].currentValue, health.attributes[1].thresholdValue);
}

static void print_disks(void) {
    UCHAR_ id;

    /* One by one, as the records of REQUEST_ALL do not tell which slot each is from. */
    for (id = 0; id < MOST_DISKS; ++id) {
        struct disk_answer answer;

        memset(&answer, 0, sizeof(answer));
        answer.header.requestType = REQUEST_SINGLE;
        answer.header.id = id;
        if (ZT_PD_GetHDInfo_Ext(0, &answer.header) != ERR_NONE || answer.header.recordCount == 0) {
            printf("disk %u: absent\n", id);
            continue;
        }
        printf("disk %u: %.*s, serial number %.*s\n", id, length(answer.disk[0].modelNumber),
               answer.disk[0].modelNumber, length(answer.disk[0].serialNumber),
               answer.disk[0].serialNumber);
        print_health(id);
    }
}

static void print_volumes(void) {
    struct volume_answer answer;
    USHORT_INT index;

    memset(&answer, 0, sizeof(answer));
    answer.header.requestType = REQUEST_ALL;
    if (ZT_LD_GetInfo(0, &answer.header) != ERR_NONE) {
        return;
    }
    for (index = 0; index < answer.header.recordCount; ++index) {
        const VD_Info* volume = &answer.volume[index];
        printf("volume %u: %.*s, RAID mode %u, status 0x%02x, %lu blocks of %u bytes\n", volume->id,
               length(volume->name), volume->name, volume->raidMode, volume->status, volume->size,
               volume->blockSize);
    }
}

int main(void) {
    ZT_API_Initialize();
    if (ZT_Adapter_GetCount() == 0) {
        printf("no controller\n");
        return 3; /* without a tear-down: there is no thread to wait for */
    }
    print_controller();
    print_disks();
    print_volumes();
    ZNV_Library_Finalize(); /* waits for the library's thread, up to 50 seconds or more */
    return 0;
}
