// Starting and stopping the XML platform, for every object that needs it while it lives.
#ifndef KZFI_CONFIG_XMLPLATFORM_H
#define KZFI_CONFIG_XMLPLATFORM_H

namespace kzfi_pdk_4_4 {

/// One start and one stop for each parser and handler. The platform's own count is not safe between
/// threads, so all of the kit's calls go through here, under one lock.
///
/// The first start is never given back: errors outlive the parser and handler that reported them
/// and need the platform's memory, and starting from nothing costs a hundred parses. Throws what
/// the platform throws.
void startXmlPlatform();
void stopXmlPlatform();

/// Keeps the platform started while it lives.
class XmlPlatformUse {
  public:
    XmlPlatformUse() { startXmlPlatform(); }
    XmlPlatformUse(const XmlPlatformUse&) = delete;
    XmlPlatformUse& operator=(const XmlPlatformUse&) = delete;
    ~XmlPlatformUse() {
        if (mine) {
            stopXmlPlatform();
        }
    }

    /// Leaves the stop to the caller.
    void release() { mine = false; }

  private:
    bool mine = true;
};

} // namespace kzfi_pdk_4_4

#endif
