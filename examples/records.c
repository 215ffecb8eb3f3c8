/* records.c: records that travel with their description: written here, read on any machine of either byte order. */
#include <string.h>
#include <zebbase/zebbase.h>

typedef struct SAMPLE {
  REALTIME rtTaken;
  float fltValue;
  char szSensor[12];
} SAMPLE;

#define SAMPLE_FIELDS(FIELD, T)        \
  FIELD(T, rtTaken, "Taken", REALTIME) \
  FIELD(T, fltValue, "Value", FLOAT)   \
  FIELD(T, szSensor, "Sensor", STRING)
INI_DESCRIBE(sdscSample, SAMPLE, SAMPLE_FIELDS);
INI_FIELD(fdscSample, SAMPLE, "Sample", STRUCT(sdscSample));

enum { RECORD_DESCRIPTION = 1, RECORD_SAMPLE = 2 };

static BOOL Write(FILE *pf) {
  static const SAMPLE asmp[] = {{86400.5, 21.5f, "north"}, {86401.5, 19.25f, "south"}};
  ULONG ulSize, rc;
  IniSizeofFdsc(&fdscSample, &ulSize);
  BYTE *pb = MemAllocMem(ulSize);
  if (!pb) return 0;
  IniPackFdsc(&fdscSample, pb);
  rc = TagWriteRecord(pf, RECORD_DESCRIPTION, ulSize, 0, 0, pb);
  for (ULONG ul = 0; ul < 2 && rc == 0; ul++) rc = TagWriteRecord(pf, RECORD_SAMPLE, sizeof *asmp, ul, 0, &asmp[ul]);
  MemFreeMem(pb);
  return rc == 0;
}

/* Of a file that may come from anywhere nothing is believed: the description is checked, the size held against ours. */
static void Read(FILE *pf) {
  BYTE abSample[sizeof(SAMPLE)], *pb = NULL;
  SAMPLE smp;
  TAG tag;
  ULONG ulSize = 0;
  while (TagReadTag(pf, &tag) == 0 && tag.ulSize <= 65536 && (pb = MemAllocMem(tag.ulSize)) != NULL) {
    const BOOL fSwap = tag.chByteOrder != TAG_NATIVE, fWhole = fread(pb, 1, tag.ulSize, pf) == tag.ulSize;
    if (fWhole && tag.usTag == RECORD_DESCRIPTION && IniCheckFdsc(pb, tag.ulSize, fSwap) == 0) {
      IniUnpackFdsc(pb, fSwap);
      IniSizeofData((const FDSC *)(void *)pb, NULL, &ulSize);
      printf("described: %s, %lu bytes\n", ((const FDSC *)(void *)pb)->pszName, ulSize);
    } else if (fWhole && tag.ulSize == ulSize && ulSize == sizeof abSample) {
      memcpy(abSample, pb, sizeof abSample);
      IniUnpackData(&fdscSample, &smp, abSample, fSwap);
      char sz[TME_STRING_SIZE];
      printf("%lu: %s %.2f %s\n", tag.ulParam1, TmeRealTimeToString(smp.rtTaken, sz), (double)smp.fltValue,
             smp.szSensor);
    }
    MemFreeMem(pb);
  }
}

int main(void) {
  BaseInit();
  FILE *pf = tmpfile();
  if (!pf || !Write(pf)) return 1;
  rewind(pf);
  Read(pf);
  fclose(pf);
  return 0;
}

/* prints
described: Sample, 24 bytes
0: 1970-01-02_00:00:00.5000 21.50 north
1: 1970-01-02_00:00:01.5000 19.25 south
*/
