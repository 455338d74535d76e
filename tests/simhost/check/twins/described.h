// A provider that describes its parameters otherwise than it has them.
#ifndef KZFI_TESTS_DESCRIBED_H
#define KZFI_TESTS_DESCRIBED_H

#include "twin.h"

class Described : public Sound {
  public:
    int init() override {
        const int status = Sound::init();
        described = globalConfigInfo[0][0];
        change(described);
        described.updateXML();
        return status;
    }

    CFiConfigParamInfoList* globalConfigInfoList(int index, bool second) override {
        return index == 0 && !second ? &described : Sound::globalConfigInfoList(index, second);
    }

  private:
    virtual void change(CFiConfigParamInfoList& parameters) = 0;

    CFiConfigParamInfoList described;
};

#endif
