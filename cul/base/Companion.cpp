// The loader lets a companion library without versions pass with a remark, and a host would fail
// somewhere later, where its classes do not fit. This name is missed before `main`.
#ifdef QUONUTIL_INTERFACE
extern "C" char const QUONUTIL_INTERFACE;
[[gnu::used, gnu::retain]] static char const* const wanted = &QUONUTIL_INTERFACE;
#endif
