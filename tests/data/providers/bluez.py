# BlueZ as a laptop has it, its devices connected and disconnected as they come and go.
mock = bus.get_object('org.bluez', '/')
def devices():
    """A laptop's adapter, earbuds with a battery, a watch and a keyboard already connected."""
    mock.AddAdapter('hci0', 'laptop', dbus_interface='org.bluez.Mock')
    buds = bus.get_object('org.bluez', mock.AddDevice('hci0', '11:22:33:44:55:66', 'Trail Buds', dbus_interface='org.bluez.Mock'))
    buds.UpdateProperties('org.bluez.Device1', {'Icon': 'audio-headset'}, dbus_interface='org.freedesktop.DBus.Mock')
    buds.AddProperties('org.bluez.Battery1', {'Percentage': dbus.Byte(80)}, dbus_interface='org.freedesktop.DBus.Mock')
    mock.AddDevice('hci0', '22:33:44:55:66:77', 'Runner Watch', dbus_interface='org.bluez.Mock')
    mock.AddDevice('hci0', 'AA:BB:CC:DD:EE:FF', 'Desk Keyboard', dbus_interface='org.bluez.Mock')
    connect('AA:BB:CC:DD:EE:FF')
def connect(address):
    mock.ConnectDevice('hci0', address, dbus_interface='org.bluez.Mock')
def disconnect(address):
    mock.DisconnectDevice('hci0', address, dbus_interface='org.bluez.Mock')
def battery(address, percent):
    """A battery reported after the connection, as BlueZ adds the interface once the device tells it."""
    path = dbus.ObjectPath('/org/bluez/hci0/dev_' + address.replace(':', '_'))
    mock.EmitSignal('org.freedesktop.DBus.ObjectManager', 'InterfacesAdded', 'oa{sa{sv}}',
                    [path, {'org.bluez.Battery1': {'Percentage': dbus.Byte(percent, variant_level=1)}}],
                    dbus_interface='org.freedesktop.DBus.Mock')
