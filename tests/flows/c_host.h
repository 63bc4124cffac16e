/* What a host in C got, for the test that runs it. */
#ifndef C_HOST_H
#define C_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

struct CHostResult {
    int nullRecord;
    int countBefore;
    int initialize;
    int countAfter;
    int getInfo;
    int countOfInfo;
    int getOemData;
    int getConfig;
    unsigned short vendorId;
    unsigned short firmwareMajor;
    unsigned short oemMajor;
    unsigned char oemFirstByte;
};

int runCHost(struct CHostResult* result);

#ifdef __cplusplus
}
#endif

#endif
