#pragma once

// Wrappers over the objects of a local mail store. No store stands behind them yet, and a wrapper
// without an object is legal: a call on it does nothing.
class IRDOFolder {
 public:
  void Save() {}
};

class IRDOItems {};
