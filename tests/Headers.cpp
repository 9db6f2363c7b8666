// Nothing of its own: what Headers.h includes is precompiled with it.
