# NetworkManager as a laptop's desktop has it, changed as the laptop moves between networks.
nm = dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager'),
                    'org.freedesktop.DBus.Mock')
manager = '/org/freedesktop/NetworkManager'
wlan = manager + '/Devices/wlan0'
def online(connected):
    nm.SetConnectivity(dbus.UInt32(4 if connected else 1))
    nm.SetGlobalConnectionState(dbus.UInt32(70 if connected else 20))
def join(name):
    nm.SetProperty(wlan, 'org.freedesktop.NetworkManager.Device.Wireless', 'ActiveAccessPoint',
                   dbus.ObjectPath(manager + '/AccessPoint/' + name, variant_level=1))
    nm.AddActiveConnection([wlan], manager + '/Settings/' + name, '/', name, dbus.UInt32(2))
    online(True)
def leave(name):
    nm.RemoveActiveConnection(wlan, manager + '/ActiveConnection/' + name)

def laptop():
    """Wi-Fi in reach of a home network and a phone, a WireGuard tunnel and a VPN configured, nothing
    connected yet. The template has neither the metered flag nor the device's access point: added as
    NetworkManager has them."""
    nm.AddWiFiDevice('wlan0', 'wlan0', dbus.UInt32(30))
    nm.AddAccessPoint(wlan, 'home', 'Home', '00:11:22:33:44:55', dbus.UInt32(2), dbus.UInt32(2437), dbus.UInt32(54000), dbus.Byte(80), dbus.UInt32(0))
    nm.AddAccessPoint(wlan, 'pixel', 'Pixel', '00:11:22:33:44:66', dbus.UInt32(2), dbus.UInt32(5180), dbus.UInt32(54000), dbus.Byte(60), dbus.UInt32(0))
    nm.AddWiFiConnection(wlan, 'home', 'Home', '')
    nm.AddWiFiConnection(wlan, 'pixel', 'Pixel', '')
    settings = dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', manager + '/Settings'),
                              'org.freedesktop.NetworkManager.Settings')
    settings.AddConnection({'connection': {'type': 'wireguard', 'id': 'wg0'}})
    settings.AddConnection({'connection': {'type': 'vpn', 'id': 'Office'}})
    nm.AddProperty('org.freedesktop.NetworkManager', 'Metered', dbus.UInt32(4))
    dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', wlan), 'org.freedesktop.DBus.Mock').AddProperty(
        'org.freedesktop.NetworkManager.Device.Wireless', 'ActiveAccessPoint', dbus.ObjectPath('/'))
    online(False)

def tunnel(setting, name):
    """A VPN or WireGuard connection of the given settings, up on no device."""
    nm.AddActiveConnection(dbus.Array([], signature='s'), manager + '/Settings/' + str(setting), '/', name,
                           dbus.UInt32(2))

def metered(value):
    nm.SetProperty(manager, 'org.freedesktop.NetworkManager', 'Metered', dbus.UInt32(value, variant_level=1))
