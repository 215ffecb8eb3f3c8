// cplusplus.cpp: a list with a comparison of its own, and settings with texts and lists that give themselves back.
#include <numeric>
#include <zebbase/zebbase.hpp>

namespace {
struct Route {
  char szTarget[12] = "";
  ULONG ulHops = 1;
};

struct Network {
  char *pszName = nullptr;
  LIST *plstRoute = nullptr;
};

constexpr auto sdscRoute =
    zebbase::describe<Route>(zebbase::field("Target", &Route::szTarget), zebbase::field("Hops", &Route::ulHops));
constexpr auto sdscNetwork = zebbase::describe<Network>(zebbase::field("Name", &Network::pszName),
                                                        zebbase::field("Route", &Network::plstRoute, sdscRoute));
constexpr auto fdscNetwork = zebbase::record("Network", sdscNetwork);
} // namespace

int main() {
  BaseInit();
  zebbase::List<Route> list;
  list.push_back({"north", 3});
  list.push_back({"south", 1});
  list.push_back({"west", 9});
  list.sort([](const Route &route1, const Route &route2) { return route1.ulHops < route2.ulHops; });
  list.erase_if([](const Route &route) { return route.ulHops > 5; });

  zebbase::Record network(fdscNetwork); // frees what it owns
  network->pszName = zebbase::NewText("office").release();
  network->plstRoute = list.release();
  if (const auto error = zebbase::Save("network.ini", *network, fdscNetwork)) std::puts(error.szText);

  const auto loaded = zebbase::Load("network.ini", fdscNetwork);
  if (!loaded) return std::puts(loaded.error().szText), 1;
  const zebbase::ListView<const Route> routes(loaded->plstRoute);
  for (const Route &route : routes) std::printf("%s: %s, %lu\n", loaded->pszName, route.szTarget, route.ulHops);
  const auto AddHops = [](ULONG ul, const Route &route) { return ul + route.ulHops; };
  std::printf("%lu hops\n", std::accumulate(routes.begin(), routes.end(), 0UL, AddHops));
  std::puts(zebbase::Load("nothing.ini", fdscNetwork).error().szText);
}

/* prints
office: south, 1
office: north, 3
4 hops
nothing.ini: No such file or directory
*/
