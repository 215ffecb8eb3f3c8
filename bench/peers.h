// peers.h: libraries that take part where their 32-bit packages are installed (glib, inih, iniparser). Elsewhere these
// functions give no contender. The arguments have to live as long as the contenders, whose answers are checked here.

#ifndef ZEBBASE_BENCH_PEERS_H
#define ZEBBASE_BENCH_PEERS_H

#include "bench.h"
#include "record.h"

using Peers = std::vector<CONTENDER>;

Peers StringCopyPeers(const char *psz, ULONG ulTimes);
Peers SortPeers(const std::vector<ULONG *> &apul);
Peers IniOpenPeers(const char *pszFile, ULONG ulKeys);
Peers RecordPeers(const char *pszFile, const RECORD &rec);
Peers ItemPeers(const char *pszFile, const std::vector<ULONG> &aul);

inline Peers Together(Peers peers, const Peers &peersMore) {
  peers.insert(peers.end(), peersMore.begin(), peersMore.end());
  return peers;
}

#endif
