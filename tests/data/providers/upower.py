# UPower's display device, changed as a laptop's battery changes.
upower = dbus.Interface(bus.get_object('org.freedesktop.UPower', '/org/freedesktop/UPower'), 'org.freedesktop.DBus.Mock')
display = '/org/freedesktop/UPower/devices/DisplayDevice'
def change(**properties):
    upower.SetDeviceProperties(display, properties)
