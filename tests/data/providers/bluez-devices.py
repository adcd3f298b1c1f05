# A laptop's adapter, earbuds with a battery, a watch and a keyboard already connected.
mock = bus.get_object('org.bluez', '/')
mock.AddAdapter('hci0', 'laptop', dbus_interface='org.bluez.Mock')
buds = bus.get_object('org.bluez', mock.AddDevice('hci0', '11:22:33:44:55:66', 'Trail Buds', dbus_interface='org.bluez.Mock'))
buds.UpdateProperties('org.bluez.Device1', {'Icon': 'audio-headset'}, dbus_interface='org.freedesktop.DBus.Mock')
buds.AddProperties('org.bluez.Battery1', {'Percentage': dbus.Byte(80)}, dbus_interface='org.freedesktop.DBus.Mock')
mock.AddDevice('hci0', '22:33:44:55:66:77', 'Runner Watch', dbus_interface='org.bluez.Mock')
mock.AddDevice('hci0', 'AA:BB:CC:DD:EE:FF', 'Desk Keyboard', dbus_interface='org.bluez.Mock')
mock.ConnectDevice('hci0', 'AA:BB:CC:DD:EE:FF', dbus_interface='org.bluez.Mock')
