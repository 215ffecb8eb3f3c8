/* settings.c: settings saved to an INI file, and read from it with every mistake told. */
#include <string.h>
#include <zebbase/zebbase.h>

typedef struct LIMIT {
  char szWhat[16];
  float fltMost;
} LIMIT;

typedef struct SETTINGS {
  char szTitle[32];
  ULONG ulColour;
  ULONG ulPause; /* seconds */
  LIMIT alimit[2];
} SETTINGS;

#define COLOUR_NAMES(NAME) NAME("Red", 1) NAME("Green", 2)
INI_ENUMERATION(edscColour, COLOUR_NAMES);
#define LIMIT_FIELDS(FIELD, T) FIELD(T, szWhat, "What", STRING) FIELD(T, fltMost, "Most", FLOAT)
INI_DESCRIBE(sdscLimit, LIMIT, LIMIT_FIELDS);
#define SETTINGS_FIELDS(FIELD, T)                  \
  FIELD(T, szTitle, "Title", STRING)               \
  FIELD(T, ulColour, "Colour", ENUM32(edscColour)) \
  FIELD(T, ulPause, "Pause", INTERVAL)             \
  FIELD(T, alimit, "Limit", STRUCT(sdscLimit))
INI_DESCRIBE(sdscSettings, SETTINGS, SETTINGS_FIELDS);
INI_FIELD(fdscSettings, SETTINGS, "Settings", STRUCT(sdscSettings));

static ULONG ShowFinding(const INIFINDING *pfinding, void *pvUser) {
  (void)pvUser;
  printf("%s: %s\n", pfinding->fMistake ? "mistake" : "note", pfinding->szText);
  return 0; /* read it all the same */
}

static void Read(SETTINGS *pset) {
  INIERROR err;
  INIFILE *pini = IniOpenChecked("settings.ini", INI_MODE_LENIENT, &err);
  if (!pini) printf("%s\n", err.szText);
  const ULONG ulMistakes = IniReadChecked(pini, pset, &fdscSettings, ShowFinding, NULL);
  if (pini) printf("%s, %lu s, %s, %lu mistakes\n", pset->szTitle, pset->ulPause, pset->alimit[1].szWhat, ulMistakes);
  IniClose(pini);
}

int main(void) {
  static const char szByHand[] =
      "[ settings.ini ]\n[ Settings ]\nTitle=by hand # a comment?\nColor = Green\nPause = 2x\n";
  SETTINGS set = {"example", 2, 5400, {{"load", 0.1f}, {"heat", 90}}};
  INIERROR err;
  BaseInit();
  if (IniSave("settings.ini", &set, &fdscSettings, &err) != 0) printf("%s\n", err.szText);
  memset(&set, 0, sizeof set);
  Read(&set);
  FILE *pf = fopen("settings.ini", "w");
  if (pf) fwrite(szByHand, 1, sizeof szByHand - 1, pf);
  if (pf) fclose(pf);
  Read(&set); /* what the file does not say stays */
  return 0;
}

/* prints
example, 5400 s, heat, 0 mistakes
note: settings.ini: [Settings] Colour: not in the file
mistake: settings.ini:5: [Settings] Pause: '2x' is no interval such as 1d2h3m4s
note: settings.ini: [SettingsLimit1]: not in the file
mistake: settings.ini:4: [Settings] Color: unknown key, perhaps Colour
by hand # a comment?, 2 s, heat, 2 mistakes
*/
