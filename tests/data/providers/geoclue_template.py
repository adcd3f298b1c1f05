import dbus
BUS_NAME = 'org.freedesktop.GeoClue2'
MAIN_OBJ = '/org/freedesktop/GeoClue2/Manager'
MAIN_IFACE = 'org.freedesktop.GeoClue2.Manager'
SYSTEM_BUS = True
CLIENT = '/org/freedesktop/GeoClue2/Client/1'

def load(mock, parameters):
    mock.AddMethod(MAIN_IFACE, 'GetClient', '', 'o', 'ret = dbus.ObjectPath("%s")' % CLIENT)
    mock.AddObject(CLIENT, 'org.freedesktop.GeoClue2.Client',
                   {'DesktopId': '', 'RequestedAccuracyLevel': dbus.UInt32(0), 'Active': False}, [
        ('Start', '', '', 'self.Set("org.freedesktop.GeoClue2.Client", "Active", True); '
                          'self.EmitSignal("org.freedesktop.GeoClue2.Client", "LocationUpdated", "oo", '
                          '[dbus.ObjectPath("/"), dbus.ObjectPath("/org/freedesktop/GeoClue2/Location/1")])'),
        ('Stop', '', '', 'self.Set("org.freedesktop.GeoClue2.Client", "Active", False)'),
    ])
    mock.AddObject('/org/freedesktop/GeoClue2/Location/1', 'org.freedesktop.GeoClue2.Location',
                   {'Latitude': 40.4165, 'Longitude': -3.70256, 'Accuracy': 5000.0, 'Description': 'Madrid'}, [])
