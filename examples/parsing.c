/* parsing.c: a small language, read token by token and by patterns, with the line of each mistake. */
#include <string.h>
#include <zebbase/zebbase.h>

static const char szText[] =
    "/* a drawing */\n"
    "pen 3 0xFF8000\n"
    "line (10,20) to (30,-5)\n"
    "circle 7\n"
    "say \"two lines,\n"
    "     joined\" end\n";

static const char *const apszKeyword[] = {"pen", "line", "say"};

static BOOL ReadStatement(PARSECTX *pprs) {
  LONG lWidth, lX1, lY1, lX2, lY2;
  ULONG ulColour;
  char szSaid[sizeof szText];
  switch (PrsGetKeyword(pprs, apszKeyword, 3)) {
    case 0:
      if (!PrsGetNumber(pprs, &lWidth) || !PrsGetHexNumber(pprs, &ulColour)) return 0;
      printf("pen of width %ld, colour %06lX\n", lWidth, ulColour);
      return 1;
    case 1:
      if (!PrsGetLinePattern(pprs, "(%n,%n) to (%n,%n)", &lX1, &lY1, &lX2, &lY2)) return 0;
      printf("line by %ld, %ld\n", lX2 - lX1, lY2 - lY1);
      return 1;
    case 2:
      if (!PrsGetSentence(pprs, szSaid) || !PrsNextWord(pprs, "end")) return 0; /* as long as the whole input at most */
      printf("says: %s\n", szSaid);
      return 1;
    default:
      return 0;
  }
}

int main(void) {
  BaseInit();
  PARSECTX *pprs = PrsStartParseText(szText, sizeof szText - 1, "drawing", PRS_CCOMMENTS, "(),\"");
  if (!pprs) return 1;
  for (; !PrsIsEndOfFile(pprs); PrsNextLine(pprs)) { /* a statement ends with its line */
    if (ReadStatement(pprs) && PrsIsEndOfLine(pprs)) continue;
    printf("%s:%lu: not understood\n", PrsQueryFileName(pprs), PrsQueryLineNumber(pprs));
  }
  PrsEndParse(pprs);
  return 0;
}

/* prints
pen of width 3, colour FF8000
line by 20, -25
drawing:4: not understood
says: two lines,joined
*/
